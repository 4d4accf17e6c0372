// CRC-32 by carry-less multiplication (PCLMULQDQ with SSE4.1) on x86
// processors that have it, chosen at run time; elsewhere it is never used.
#pragma once

#include <cstddef>
#include <cstdint>

namespace virel {
namespace ndb {

// Below this the table code is as fast.
inline constexpr size_t kClmulMinSize = 64;

// True when this build has the multiply path and the processor runs it.
bool ClmulAvailable();

// Advances the running (not inverted) register over `size` bytes; `size`
// is a multiple of 16 and at least kClmulMinSize. Only when available.
uint32_t UpdateClmul(uint32_t crc, const uint8_t* p, size_t size);

}  // namespace ndb
}  // namespace virel
