// The byte strings on which the portable UTF-8 decoder is checked against
// the Windows conversion. Both sides generate the same list: every 1- and
// 2-byte string, every 3-byte string over the bytes where decoders tend to
// disagree, and a fixed pseudo-random sample of longer strings over those
// bytes mixed with ASCII.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace utf8cases {

// Lead-byte boundaries, continuation-range edges and never-valid bytes.
inline const std::vector<uint8_t>& InterestingBytes() {
  static const std::vector<uint8_t> bytes = {
      0x00, 0x41, 0x7F, 0x80, 0x81, 0x8F, 0x90, 0x9F, 0xA0, 0xAF, 0xBF,
      0xC0, 0xC1, 0xC2, 0xC3, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF,
      0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFB, 0xFC, 0xFE, 0xFF};
  return bytes;
}

// xorshift64*: the same sequence on every platform.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}
  uint64_t Next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1Dull;
  }
  size_t Below(size_t n) { return static_cast<size_t>(Next() % n); }

 private:
  uint64_t state_;
};

constexpr size_t kFourByteSamples = 60000;
constexpr size_t kLongSamples = 30000;

inline std::vector<std::string> Generate() {
  std::vector<std::string> cases;
  for (int a = 0; a < 256; ++a) cases.push_back(std::string(1, char(a)));
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      cases.push_back(std::string{char(a), char(b)});
    }
  }
  const auto& pick = InterestingBytes();
  for (uint8_t a : pick) {
    for (uint8_t b : pick) {
      for (uint8_t c : pick) cases.push_back(std::string{char(a), char(b), char(c)});
    }
  }
  Random random(0x5649524555544638ull);
  for (size_t i = 0; i < kFourByteSamples; ++i) {
    std::string s;
    for (int k = 0; k < 4; ++k) s.push_back(char(pick[random.Below(pick.size())]));
    cases.push_back(s);
  }
  // 5 to 12 bytes; about one byte in four is a random printable ASCII byte.
  for (size_t i = 0; i < kLongSamples; ++i) {
    std::string s;
    const size_t length = 5 + random.Below(8);
    for (size_t k = 0; k < length; ++k) {
      if (random.Below(4) == 0) {
        s.push_back(char(0x20 + random.Below(0x5F)));
      } else {
        s.push_back(char(pick[random.Below(pick.size())]));
      }
    }
    cases.push_back(s);
  }
  return cases;
}

inline std::string Hex(const std::string& bytes) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (char c : bytes) {
    const uint8_t b = static_cast<uint8_t>(c);
    out.push_back(kDigits[b >> 4]);
    out.push_back(kDigits[b & 0xF]);
  }
  return out;
}

// UTF-16 code units as space-separated 4-digit hex; "-" for none.
inline std::string UnitsText(const std::vector<uint16_t>& units) {
  if (units.empty()) return "-";
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (uint16_t u : units) {
    if (!out.empty()) out.push_back(' ');
    for (int shift = 12; shift >= 0; shift -= 4) out.push_back(kDigits[(u >> shift) & 0xF]);
  }
  return out;
}

}  // namespace utf8cases
