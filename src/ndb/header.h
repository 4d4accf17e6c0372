// The 512-byte file header and its two checksums.
#pragma once

#include <cstdint>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr size_t kHeaderSize = 512;
inline constexpr uint64_t kAMapStart = 0x4400;  // first allocation-map page
inline constexpr char kFinalFormatName[] = "!BDP";

// Block reference: a BID with the file offset of its block or page.
struct Bref {
  uint64_t bid = 0;
  uint64_t ib = 0;
};

// The ROOT fields that finalisation fills; all zero in a provisional header.
struct HeaderRoot {
  uint64_t file_eof = 0;
  uint64_t amap_last = 0;
  Bref nbt;
  Bref bbt;
  bool amap_valid = false;
};

// 1 exactly when `name` is the four bytes "!BDP", else 0.
uint8_t FormatFlag(const char* name);

// A fresh header with all ROOT fields zero and both checksums in place.
Bytes BuildHeader(uint8_t format_flag);

// Fills the ROOT fields of a built header and recomputes its checksums:
// dwCRCPartial first (over the bytes as they stand, the old full checksum
// included), then the full checksum with its own field zeroed.
void FillHeaderRoot(Bytes* header, const HeaderRoot& root);

// Header field offsets, shared with tests that check the image.
namespace header_offset {
inline constexpr size_t kMagic = 0;
inline constexpr size_t kCrcPartial = 4;
inline constexpr size_t kMagicClient = 8;
inline constexpr size_t kVersion = 10;
inline constexpr size_t kClientVersion = 12;
inline constexpr size_t kPlatformCreate = 14;
inline constexpr size_t kPlatformAccess = 15;
inline constexpr size_t kBidNextP = 32;
inline constexpr size_t kUnique = 40;
inline constexpr size_t kRgnid = 44;
inline constexpr size_t kFileEof = 184;
inline constexpr size_t kAMapLast = 192;
inline constexpr size_t kAMapFree = 200;
inline constexpr size_t kPMapFree = 208;
inline constexpr size_t kNbtBid = 216;
inline constexpr size_t kNbtIb = 224;
inline constexpr size_t kBbtBid = 232;
inline constexpr size_t kBbtIb = 240;
inline constexpr size_t kAMapValid = 248;
inline constexpr size_t kSentinel = 348;
inline constexpr size_t kCryptMethod = 349;
inline constexpr size_t kFullCrc = 400;
inline constexpr size_t kPartialCrcBegin = 8;
inline constexpr size_t kPartialCrcLength = 471;
}  // namespace header_offset

}  // namespace ndb
}  // namespace virel
