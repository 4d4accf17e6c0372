// Reflected CRC-32 (polynomial 0xEDB88320) with pre- and post-inversion.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vread {

std::uint32_t crc32(const std::uint8_t* data, std::size_t length);

}  // namespace vread
