// The reflected CRC-32 (polynomial 0xEDB88320, preset and inverted), as
// zlib's crc32: used for block, page and header checksums.
#pragma once

#include <cstddef>
#include <cstdint>

namespace virel {
namespace ndb {

// `start` continues a previous result; 0 begins a new checksum. Uses
// carry-less multiplication where the processor has it.
uint32_t Crc32(const void* data, size_t size, uint32_t start = 0);

// The same result from the table code alone, whatever the processor.
uint32_t Crc32Portable(const void* data, size_t size, uint32_t start = 0);

}  // namespace ndb
}  // namespace virel
