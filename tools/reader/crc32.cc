#include "crc32.h"

#include <array>

namespace vread {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320u;

std::array<std::uint32_t, 256> makeTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t c = i;
    for (int bit = 0; bit < 8; ++bit) c = (c & 1u) ? (kPolynomial ^ (c >> 1)) : (c >> 1);
    table[i] = c;
  }
  return table;
}

}  // namespace

std::uint32_t crc32(const std::uint8_t* data, std::size_t length) {
  static const std::array<std::uint32_t, 256> table = makeTable();
  std::uint32_t c = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < length; ++i) c = table[(c ^ data[i]) & 0xFFu] ^ (c >> 8);
  return c ^ 0xFFFFFFFFu;
}

}  // namespace vread
