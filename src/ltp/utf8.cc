#include "ltp/utf8.h"

#include <cstdint>
#include <utility>

#ifdef _WIN32
#include <climits>
#include <windows.h>
#endif
#if defined(__SSE2__) || defined(_M_X64)
#define VIREL_UTF8_SSE2 1
#include <emmintrin.h>
#endif

namespace virel {
namespace ltp {

namespace {

constexpr uint32_t kFirstSupplementary = 0x10000;
constexpr uint16_t kHighSurrogateBase = 0xD800;
constexpr uint16_t kLowSurrogateBase = 0xDC00;
constexpr uint32_t kSurrogateBits = 10;
constexpr uint32_t kLowSurrogateMask = 0x3FF;
constexpr uint8_t kContinuationTag = 0x80;
constexpr uint8_t kContinuationPayload = 0x3F;
constexpr int kContinuationBits = 6;

// Stores code units into a buffer sized for the worst case: every input
// byte gives at most one code unit (a four-byte sequence gives two).
class UnitWriter {
 public:
  explicit UnitWriter(size_t max_units) : out_(2 * max_units), p_(out_.data()) {}

#ifdef VIREL_UTF8_SSE2
  // Sixteen ASCII bytes, each widened to a code unit.
  void Ascii16(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p_), _mm_unpacklo_epi8(bytes, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p_ + 16), _mm_unpackhi_epi8(bytes, zero));
    p_ += 32;
  }
#endif

  // Eight ASCII bytes, each widened to a code unit.
  void Ascii8(uint64_t bytes) {
    Spread4(bytes & 0xFFFFFFFFu);
    Spread4(bytes >> 32);
  }

  void Unit(uint16_t u) {
    EncodeFixed16(p_, u);
    p_ += 2;
  }

  void CodePoint(uint32_t cp) {
    if (cp < kFirstSupplementary) {
      Unit(static_cast<uint16_t>(cp));
      return;
    }
    const uint32_t offset = cp - kFirstSupplementary;
    Unit(static_cast<uint16_t>(kHighSurrogateBase + (offset >> kSurrogateBits)));
    Unit(static_cast<uint16_t>(kLowSurrogateBase + (cp & kLowSurrogateMask)));
  }

  Bytes Finish() {
    out_.resize(static_cast<size_t>(p_ - out_.data()));
    return std::move(out_);
  }

 private:
  // Four bytes (the low ones of `v`) as four code units.
  void Spread4(uint64_t v) {
    v = (v | (v << 16)) & 0x0000FFFF0000FFFFull;
    v = (v | (v << 8)) & 0x00FF00FF00FF00FFull;
    EncodeFixed64(p_, v);
    p_ += 8;
  }

  Bytes out_;
  uint8_t* p_;
};

#ifndef _WIN32

constexpr uint16_t kReplacementChar = 0xFFFD;
constexpr uint8_t kContinuationMask = 0xC0;

bool IsContinuation(uint8_t b) {
  return (b & kContinuationMask) == kContinuationTag;
}

// What a well-formed sequence starting with a given lead byte looks like:
// its length, the payload bits of the lead and the range allowed for the
// second byte (which excludes overlongs, surrogates and values past
// U+10FFFF).
struct LeadInfo {
  size_t length;  // 0 for a byte that cannot start a sequence
  uint8_t payload_mask;
  uint8_t second_min;
  uint8_t second_max;
};

LeadInfo ClassifyLead(uint8_t b) {
  if (b >= 0xC2 && b <= 0xDF) return {2, 0x1F, 0x80, 0xBF};
  if (b == 0xE0) return {3, 0x0F, 0xA0, 0xBF};
  if (b == 0xED) return {3, 0x0F, 0x80, 0x9F};
  if (b >= 0xE1 && b <= 0xEF) return {3, 0x0F, 0x80, 0xBF};
  if (b == 0xF0) return {4, 0x07, 0x90, 0xBF};
  if (b >= 0xF1 && b <= 0xF3) return {4, 0x07, 0x80, 0xBF};
  if (b == 0xF4) return {4, 0x07, 0x80, 0x8F};
  return {0, 0, 0, 0};
}

// Decodes one sequence at in[pos], appends its code units (or one U+FFFD)
// and returns the number of bytes consumed.
size_t DecodeOne(const uint8_t* in, size_t size, size_t pos, UnitWriter* out) {
  const uint8_t lead = in[pos];
  const LeadInfo info = ClassifyLead(lead);
  if (info.length == 0) {
    out->Unit(kReplacementChar);
    return 1;
  }
  // A sequence cut off by the end swallows everything that is left.
  if (size - pos < info.length) {
    out->Unit(kReplacementChar);
    return size - pos;
  }
  const uint8_t second = in[pos + 1];
  if (!IsContinuation(second)) {
    out->Unit(kReplacementChar);
    return 1;
  }
  if (second < info.second_min || second > info.second_max) {
    out->Unit(kReplacementChar);
    return 2;
  }
  uint32_t cp = lead & info.payload_mask;
  for (size_t i = 1; i < info.length; ++i) {
    const uint8_t b = in[pos + i];
    if (!IsContinuation(b)) {
      out->Unit(kReplacementChar);
      return i;
    }
    cp = (cp << kContinuationBits) | (b & kContinuationPayload);
  }
  out->CodePoint(cp);
  return info.length;
}

#endif  // !_WIN32

}  // namespace

#ifdef _WIN32

Bytes Utf8ToUtf16(const std::string& utf8) {
  Bytes out;
  if (utf8.empty() || utf8.size() > static_cast<size_t>(INT_MAX)) return out;
  const int in_len = static_cast<int>(utf8.size());
  const int units =
      MultiByteToWideChar(CP_UTF8, 0, utf8.data(), in_len, nullptr, 0);
  if (units < 1) return out;
  std::wstring wide(static_cast<size_t>(units), L'\0');
  if (MultiByteToWideChar(CP_UTF8, 0, utf8.data(), in_len, &wide[0], units) <
      1) {
    return out;
  }
  out.resize(wide.size() * 2);
  for (size_t i = 0; i < wide.size(); ++i) {
    EncodeFixed16(&out[2 * i], static_cast<uint16_t>(wide[i]));
  }
  return out;
}

#else

Bytes Utf8ToUtf16(const std::string& utf8) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(utf8.data());
  const size_t size = utf8.size();
  UnitWriter out(size);
  constexpr uint64_t kHighBits = 0x8080808080808080ull;
  for (size_t pos = 0; pos < size;) {
#ifdef VIREL_UTF8_SSE2
    if (size - pos >= 16) {
      const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + pos));
      if (_mm_movemask_epi8(v) == 0) {
        out.Ascii16(v);
        pos += 16;
        continue;
      }
    }
#endif
    if (size - pos >= 8 && (DecodeFixed64(in + pos) & kHighBits) == 0) {
      out.Ascii8(DecodeFixed64(in + pos));
      pos += 8;
    } else if (in[pos] < kContinuationTag) {
      out.Unit(in[pos++]);
    } else {
      pos += DecodeOne(in, size, pos, &out);
    }
  }
  return out.Finish();
}

#endif  // _WIN32

namespace {

struct LenientLead {
  size_t length;  // 0: the byte is skipped
  uint8_t payload_mask;
};

LenientLead ClassifyLenientLead(uint8_t b) {
  if (b < kContinuationTag) return {1, 0x7F};
  if ((b & 0xE0) == 0xC0) return {2, 0x1F};
  if ((b & 0xF0) == 0xE0) return {3, 0x0F};
  if ((b & 0xF8) == 0xF0) return {4, 0x07};
  return {0, 0};
}

}  // namespace

Bytes Utf8ToUtf16Terminated(const std::string& utf8) {
  const uint8_t* in = reinterpret_cast<const uint8_t*>(utf8.data());
  const size_t size = utf8.size();
  UnitWriter out(size + 1);
  size_t pos = 0;
  while (pos < size) {
    const LenientLead lead = ClassifyLenientLead(in[pos]);
    if (lead.length == 0 || size - pos < lead.length) {
      ++pos;
      continue;
    }
    uint32_t cp = in[pos] & lead.payload_mask;
    for (size_t i = 1; i < lead.length; ++i) {
      cp = (cp << kContinuationBits) | (in[pos + i] & kContinuationPayload);
    }
    // Four-byte sequences that decode below U+10000 produce nothing.
    if (lead.length < 4 || cp >= kFirstSupplementary) out.CodePoint(cp);
    pos += lead.length;
  }
  out.Unit(0);
  return out.Finish();
}

}  // namespace ltp
}  // namespace virel
