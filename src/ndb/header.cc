#include "ndb/header.h"

#include <cstring>

#include "ndb/crc32.h"

namespace virel {
namespace ndb {
namespace {

constexpr uint32_t kMagicBase = 0x4E444221;  // "!BDN"
constexpr uint32_t kMagicFlagStep = 0x02000000;
constexpr uint16_t kMagicClient = 0x534D;
constexpr uint16_t kClientVersion = 19;
constexpr uint8_t kPlatform = 1;
constexpr uint64_t kBidNextP = 512;
constexpr uint32_t kUnique = 1;
constexpr uint8_t kSentinel = 0x80;
constexpr uint8_t kCryptPermute = 1;
constexpr uint32_t kRgnid[] = {0x21,  0x61,  0x122, 0x162, 0x1A2,
                               0x202, 0x242, 0x282, 0x2C2, 0x302,
                               0x342, 0x382, 0x3C2, 0x402, 0x442};

}  // namespace

uint8_t FormatFlag(const char* name) {
  return (name != nullptr && std::memcmp(name, kFinalFormatName, 4) == 0) ? 1
                                                                          : 0;
}

namespace {

void UpdateChecksums(uint8_t* p) {
  namespace o = header_offset;
  EncodeFixed32(p + o::kCrcPartial,
                Crc32(p + o::kPartialCrcBegin, o::kPartialCrcLength));
  EncodeFixed32(p + o::kFullCrc, 0);
  EncodeFixed32(p + o::kFullCrc, Crc32(p, kHeaderSize));
}

}  // namespace

Bytes BuildHeader(uint8_t format_flag) {
  namespace o = header_offset;
  Bytes h(kHeaderSize, 0);
  uint8_t* p = h.data();
  EncodeFixed32(p + o::kMagic, kMagicBase + format_flag * kMagicFlagStep);
  EncodeFixed16(p + o::kMagicClient, kMagicClient);
  EncodeFixed16(p + o::kVersion, static_cast<uint16_t>(format_flag * 8 + 15));
  EncodeFixed16(p + o::kClientVersion, kClientVersion);
  p[o::kPlatformCreate] = kPlatform;
  p[o::kPlatformAccess] = kPlatform;
  EncodeFixed64(p + o::kBidNextP, kBidNextP);
  EncodeFixed32(p + o::kUnique, kUnique);
  for (size_t i = 0; i < sizeof(kRgnid) / sizeof(kRgnid[0]); ++i) {
    EncodeFixed32(p + o::kRgnid + 4 * i, kRgnid[i]);
  }
  p[o::kSentinel] = kSentinel;
  p[o::kCryptMethod] = kCryptPermute;
  UpdateChecksums(p);
  return h;
}

void FillHeaderRoot(Bytes* header, const HeaderRoot& root) {
  namespace o = header_offset;
  uint8_t* p = header->data();
  EncodeFixed64(p + o::kFileEof, root.file_eof);
  EncodeFixed64(p + o::kAMapLast, root.amap_last);
  EncodeFixed64(p + o::kAMapFree, 0);
  EncodeFixed64(p + o::kNbtBid, root.nbt.bid);
  EncodeFixed64(p + o::kNbtIb, root.nbt.ib);
  EncodeFixed64(p + o::kBbtBid, root.bbt.bid);
  EncodeFixed64(p + o::kBbtIb, root.bbt.ib);
  p[o::kAMapValid] = root.amap_valid ? 1 : 0;
  UpdateChecksums(p);
}

}  // namespace ndb
}  // namespace virel
