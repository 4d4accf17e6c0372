#include "ndb/encoding.h"

#if defined(__x86_64__) || defined(_M_X64)
#define VIREL_ENCODE_VBMI 1
#include <immintrin.h>
#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#define VIREL_TARGET_VBMI
#else
#include <cpuid.h>
#define VIREL_TARGET_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))
#endif
#endif

namespace virel {
namespace ndb {
namespace {

void EncodePortable(const uint8_t* src, size_t size, uint8_t* dst) {
  for (size_t i = 0; i < size; ++i) dst[i] = kEncodeTable[src[i]];
}

#ifdef VIREL_ENCODE_VBMI

constexpr size_t kLane = 64;

// Each byte indexes one of two 128-byte halves of the table (by its top
// bit) through two-register permutes.
VIREL_TARGET_VBMI __m512i EncodeLane(__m512i x, const __m512i t[4]) {
  const __m512i low = _mm512_permutex2var_epi8(t[0], x, t[1]);
  const __m512i high = _mm512_permutex2var_epi8(t[2], x, t[3]);
  return _mm512_mask_blend_epi8(_mm512_movepi8_mask(x), low, high);
}

VIREL_TARGET_VBMI void EncodeVbmi(const uint8_t* src, size_t size, uint8_t* dst) {
  __m512i t[4];
  for (int i = 0; i < 4; ++i) t[i] = _mm512_loadu_si512(kEncodeTable + kLane * i);
  for (; size >= kLane; size -= kLane, src += kLane, dst += kLane) {
    _mm512_storeu_si512(dst, EncodeLane(_mm512_loadu_si512(src), t));
  }
  if (size > 0) {
    const __mmask64 tail = (~uint64_t{0}) >> (kLane - size);
    _mm512_mask_storeu_epi8(dst, tail, EncodeLane(_mm512_maskz_loadu_epi8(tail, src), t));
  }
}

// Leaf 1 ECX, leaf 7 EBX/ECX bits and the register state the OS saves.
constexpr unsigned kCpuidOsxsave = 1u << 27;
constexpr unsigned kCpuidAvx512F = 1u << 16;
constexpr unsigned kCpuidAvx512Bw = 1u << 30;
constexpr unsigned kCpuidAvx512Vbmi = 1u << 1;
constexpr uint64_t kXcrAvx512State = 0xE6;  // SSE, AVX, opmask, ZMM

bool CpuHasVbmi() {
  unsigned ecx1 = 0, ebx7 = 0, ecx7 = 0;
  uint64_t xcr0 = 0;
#if defined(_MSC_VER) && !defined(__clang__)
  int info[4] = {0, 0, 0, 0};
  __cpuid(info, 0);
  if (info[0] < 7) return false;
  __cpuid(info, 1);
  ecx1 = static_cast<unsigned>(info[2]);
  __cpuidex(info, 7, 0);
  ebx7 = static_cast<unsigned>(info[1]);
  ecx7 = static_cast<unsigned>(info[2]);
  if ((ecx1 & kCpuidOsxsave) == 0) return false;
  xcr0 = _xgetbv(0);
#else
  unsigned eax = 0, ebx = 0, edx = 0;
  if (__get_cpuid_max(0, nullptr) < 7) return false;
  __get_cpuid(1, &eax, &ebx, &ecx1, &edx);
  __cpuid_count(7, 0, eax, ebx7, ecx7, edx);
  if ((ecx1 & kCpuidOsxsave) == 0) return false;
  unsigned lo = 0, hi = 0;
  __asm__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  xcr0 = (uint64_t{hi} << 32) | lo;
#endif
  return (ebx7 & kCpuidAvx512F) != 0 && (ebx7 & kCpuidAvx512Bw) != 0 &&
         (ecx7 & kCpuidAvx512Vbmi) != 0 &&
         (xcr0 & kXcrAvx512State) == kXcrAvx512State;
}

#endif  // VIREL_ENCODE_VBMI

}  // namespace

void EncodeCopy(const uint8_t* src, size_t size, uint8_t* dst) {
#ifdef VIREL_ENCODE_VBMI
  static const bool vbmi = CpuHasVbmi();
  if (vbmi) return EncodeVbmi(src, size, dst);
#endif
  EncodePortable(src, size, dst);
}

}  // namespace ndb
}  // namespace virel
