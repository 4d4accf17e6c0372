#include "ndb/crc32_clmul.h"

#if defined(__x86_64__) || defined(__i386__) || defined(_M_X64) || \
    (defined(_M_IX86) && !defined(_M_ARM64EC))
#define VIREL_CRC_CLMUL 1
#include <emmintrin.h>
#include <smmintrin.h>
#include <wmmintrin.h>
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define VIREL_TARGET_CLMUL
#else
#include <cpuid.h>
#define VIREL_TARGET_CLMUL __attribute__((target("sse4.1,pclmul")))
#endif
#endif

namespace virel {
namespace ndb {

#ifdef VIREL_CRC_CLMUL
namespace {

constexpr unsigned kCpuidPclmul = 1u << 1;  // leaf 1, ECX
constexpr unsigned kCpuidSse41 = 1u << 19;

// Folding constants of the reflected polynomial: x^(4*128+32) and
// x^(4*128-32) mod P for four lanes, x^(128+32) and x^(128-32) for one,
// x^64 mod P, and P with its Barrett quotient.
alignas(16) const uint64_t kFold4[2] = {0x0154442bd4, 0x01c6e41596};
alignas(16) const uint64_t kFold1[2] = {0x01751997d0, 0x00ccaa009e};
alignas(16) const uint64_t kFold64[2] = {0x0163cd6124, 0};
alignas(16) const uint64_t kBarrett[2] = {0x01db710641, 0x01f7011641};

VIREL_TARGET_CLMUL inline __m128i Fold(__m128i x, __m128i k, __m128i next) {
  const __m128i lo = _mm_clmulepi64_si128(x, k, 0x00);
  const __m128i hi = _mm_clmulepi64_si128(x, k, 0x11);
  return _mm_xor_si128(_mm_xor_si128(hi, lo), next);
}

VIREL_TARGET_CLMUL uint32_t Update(uint32_t crc, const uint8_t* p, size_t size) {
  const __m128i* in = reinterpret_cast<const __m128i*>(p);
  __m128i x1 = _mm_xor_si128(_mm_loadu_si128(in),
                             _mm_cvtsi32_si128(static_cast<int>(crc)));
  __m128i x2 = _mm_loadu_si128(in + 1);
  __m128i x3 = _mm_loadu_si128(in + 2);
  __m128i x4 = _mm_loadu_si128(in + 3);
  in += 4;
  size -= 64;

  __m128i k = _mm_load_si128(reinterpret_cast<const __m128i*>(kFold4));
  for (; size >= 64; size -= 64, in += 4) {
    x1 = Fold(x1, k, _mm_loadu_si128(in));
    x2 = Fold(x2, k, _mm_loadu_si128(in + 1));
    x3 = Fold(x3, k, _mm_loadu_si128(in + 2));
    x4 = Fold(x4, k, _mm_loadu_si128(in + 3));
  }

  k = _mm_load_si128(reinterpret_cast<const __m128i*>(kFold1));
  x1 = Fold(x1, k, x2);
  x1 = Fold(x1, k, x3);
  x1 = Fold(x1, k, x4);
  for (; size >= 16; size -= 16, ++in) x1 = Fold(x1, k, _mm_loadu_si128(in));

  // 128 bits to 64.
  const __m128i low32 = _mm_setr_epi32(~0, 0, ~0, 0);
  __m128i x = _mm_xor_si128(_mm_srli_si128(x1, 8),
                            _mm_clmulepi64_si128(x1, k, 0x10));
  k = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(kFold64));
  x = _mm_xor_si128(_mm_clmulepi64_si128(_mm_and_si128(x, low32), k, 0x00),
                    _mm_srli_si128(x, 4));

  // Barrett reduction to 32 bits.
  k = _mm_load_si128(reinterpret_cast<const __m128i*>(kBarrett));
  __m128i t = _mm_clmulepi64_si128(_mm_and_si128(x, low32), k, 0x10);
  t = _mm_clmulepi64_si128(_mm_and_si128(t, low32), k, 0x00);
  return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(x, t), 1));
}

bool CpuHasClmul() {
  unsigned ecx = 0;
#if defined(_MSC_VER) && !defined(__clang__)
  int info[4] = {0, 0, 0, 0};
  __cpuid(info, 1);
  ecx = static_cast<unsigned>(info[2]);
#else
  unsigned eax = 0, ebx = 0, edx = 0;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return false;
#endif
  return (ecx & kCpuidPclmul) != 0 && (ecx & kCpuidSse41) != 0;
}

}  // namespace

bool ClmulAvailable() { return CpuHasClmul(); }
uint32_t UpdateClmul(uint32_t crc, const uint8_t* p, size_t size) {
  return Update(crc, p, size);
}

#else

bool ClmulAvailable() { return false; }
uint32_t UpdateClmul(uint32_t crc, const uint8_t*, size_t) { return crc; }

#endif  // VIREL_CRC_CLMUL

}  // namespace ndb
}  // namespace virel
