#include "ndb/crc32.h"

#include "core/coding.h"
#include "ndb/crc32_clmul.h"

namespace virel {
namespace ndb {
namespace {

constexpr uint32_t kPolynomial = 0xEDB88320u;
constexpr int kSlices = 16;

struct CrcTables {
  uint32_t t[kSlices][256];
  CrcTables() {
    for (uint32_t i = 0; i < 256; ++i) {
      uint32_t c = i;
      for (int k = 0; k < 8; ++k) c = (c & 1) ? (c >> 1) ^ kPolynomial : c >> 1;
      t[0][i] = c;
    }
    for (uint32_t i = 0; i < 256; ++i) {
      for (int s = 1; s < kSlices; ++s) {
        t[s][i] = (t[s - 1][i] >> 8) ^ t[0][t[s - 1][i] & 0xFF];
      }
    }
  }
};

const CrcTables& Tables() {
  static const CrcTables tables;
  return tables;
}

// Slicing-by-16 on the running register (not inverted here): sixteen
// bytes per step, the same result as the bytewise loop.
uint32_t UpdateTables(uint32_t c, const uint8_t* p, size_t size) {
  const auto& t = Tables().t;
  while (size >= 16) {
    const uint32_t a = DecodeFixed32(p) ^ c;
    const uint32_t b = DecodeFixed32(p + 4);
    const uint32_t d = DecodeFixed32(p + 8);
    const uint32_t e = DecodeFixed32(p + 12);
    c = t[15][a & 0xFF] ^ t[14][(a >> 8) & 0xFF] ^ t[13][(a >> 16) & 0xFF] ^
        t[12][a >> 24] ^ t[11][b & 0xFF] ^ t[10][(b >> 8) & 0xFF] ^
        t[9][(b >> 16) & 0xFF] ^ t[8][b >> 24] ^ t[7][d & 0xFF] ^
        t[6][(d >> 8) & 0xFF] ^ t[5][(d >> 16) & 0xFF] ^ t[4][d >> 24] ^
        t[3][e & 0xFF] ^ t[2][(e >> 8) & 0xFF] ^ t[1][(e >> 16) & 0xFF] ^
        t[0][e >> 24];
    p += 16;
    size -= 16;
  }
  while (size-- > 0) c = t[0][(c ^ *p++) & 0xFF] ^ (c >> 8);
  return c;
}

bool UseClmul() {
  static const bool use = ClmulAvailable();
  return use;
}

}  // namespace

uint32_t Crc32(const void* data, size_t size, uint32_t start) {
  const uint8_t* p = static_cast<const uint8_t*>(data);
  uint32_t c = ~start;
  if (size >= kClmulMinSize && UseClmul()) {
    const size_t folded = size & ~size_t{15};
    c = UpdateClmul(c, p, folded);
    p += folded;
    size -= folded;
  }
  return ~UpdateTables(c, p, size);
}

uint32_t Crc32Portable(const void* data, size_t size, uint32_t start) {
  return ~UpdateTables(~start, static_cast<const uint8_t*>(data), size);
}

}  // namespace ndb
}  // namespace virel
