// Byte buffers and little-endian reads shared by the reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vread {

using Bytes = std::vector<std::uint8_t>;

inline std::uint16_t le16(const std::uint8_t* p) {
  return static_cast<std::uint16_t>(p[0] | (p[1] << 8));
}

inline std::uint32_t le32(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0]) | (static_cast<std::uint32_t>(p[1]) << 8) |
         (static_cast<std::uint32_t>(p[2]) << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

inline std::uint64_t le64(const std::uint8_t* p) {
  return static_cast<std::uint64_t>(le32(p)) | (static_cast<std::uint64_t>(le32(p + 4)) << 32);
}

inline void putLe32(std::uint8_t* p, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) p[i] = static_cast<std::uint8_t>(v >> (8 * i));
}

// True when [offset, offset + length) lies inside a buffer of `size` bytes.
inline bool fits(std::uint64_t size, std::uint64_t offset, std::uint64_t length) {
  return offset <= size && length <= size - offset;
}

}  // namespace vread
