#include "header.h"

#include <algorithm>

#include "crc32.h"
#include "layout.h"

namespace vread {
namespace {

using namespace layout;

constexpr std::uint64_t kMagicSize = 4;
constexpr std::uint32_t kNidCounters[] = {0x21,  0x61,  0x122, 0x162, 0x1A2, 0x202, 0x242, 0x282,
                                          0x2C2, 0x302, 0x342, 0x382, 0x3C2, 0x402, 0x442};

void expectByte(const std::uint8_t* h, std::uint64_t off, std::uint8_t want, const char* what,
                ViolationLog& log) {
  if (h[off] != want) log.add(off, std::string(what) + " is " + hex(h[off]) + ", expected " + hex(want));
}

void expectWord(std::uint64_t off, std::uint64_t got, std::uint64_t want, const char* what, ViolationLog& log) {
  if (got != want) log.add(off, std::string(what) + " is " + hex(got) + ", expected " + hex(want));
}

bool rootIsZero(const std::uint8_t* h) {
  for (std::uint64_t i = kOffRoot; i < kOffRoot + kRootSize; ++i)
    if (h[i] != 0) return false;
  return true;
}

// The final header is a fresh header (ROOT zero, both checksums set) whose
// ROOT is then filled and whose dwCRCPartial is recomputed while bytes
// 400-403 still hold the fresh header's full checksum.
std::uint32_t expectedPartial(const std::uint8_t* h) {
  Bytes fresh(h, h + kHeaderSize);
  std::fill(fresh.begin() + kOffRoot, fresh.begin() + kOffRoot + kRootSize, 0);
  std::fill(fresh.begin() + kOffCrcFull, fresh.begin() + kOffCrcFull + 4, 0);
  std::uint32_t freshPartial = crc32(fresh.data() + kPartialStart, kPartialLength);
  if (rootIsZero(h)) return freshPartial;
  putLe32(fresh.data() + kOffCrcPartial, freshPartial);
  std::uint32_t freshFull = crc32(fresh.data(), kHeaderSize);
  Bytes final(h, h + kHeaderSize);
  putLe32(final.data() + kOffCrcFull, freshFull);
  return crc32(final.data() + kPartialStart, kPartialLength);
}

void checkChecksums(const std::uint8_t* h, ViolationLog& log) {
  expectWord(kOffCrcPartial, le32(h + kOffCrcPartial), expectedPartial(h), "dwCRCPartial", log);
  Bytes copy(h, h + kHeaderSize);
  for (int i = 0; i < 4; ++i) copy[kOffCrcFull + i] = 0;
  expectWord(kOffCrcFull, le32(h + kOffCrcFull), crc32(copy.data(), copy.size()), "full header checksum", log);
}

void checkFixedFields(const std::uint8_t* h, const HeaderInfo& info, ViolationLog& log) {
  expectWord(kOffMagicClient, le16(h + kOffMagicClient), kMagicClient, "wMagicClient", log);
  expectWord(kOffVer, info.version, info.unicode ? kVerUnicode : kVerAnsi, "wVer", log);
  expectWord(kOffVerClient, info.clientVersion, kVerClient, "wVerClient", log);
  expectByte(h, kOffPlatformCreate, 1, "bPlatformCreate", log);
  expectByte(h, kOffPlatformAccess, 1, "bPlatformAccess", log);
  expectWord(kOffBidNextP, le64(h + kOffBidNextP), kBidNextP, "bidNextP", log);
  expectWord(kOffUnique, le32(h + kOffUnique), 1, "dwUnique", log);
  for (int i = 0; i < kRgnidCount; ++i) {
    std::uint64_t off = kOffRgnid + 4u * static_cast<unsigned>(i);
    std::uint32_t want = i < 15 ? kNidCounters[i] : 0;
    if (le32(h + off) != want) log.add(off, "rgnid[" + std::to_string(i) + "] is " + hex(le32(h + off)) +
                                                 ", expected " + hex(want));
  }
  expectByte(h, kOffSentinel, kSentinel, "sentinel byte", log);
  expectByte(h, kOffCryptMethod, kCryptPermute, "encoding method byte", log);
}

void checkFinalRoot(const HeaderInfo& info, ViolationLog& log) {
  if (info.fileEof > info.fileSize)
    log.add(kOffFileEof, "ibFileEof " + hex(info.fileEof) + " lies past the end of the file (" +
                             hex(info.fileSize) + ")");
  expectWord(kOffAMapLast, info.amapLast, kAMapStart, "ibAMapLast", log);
  if (info.fileSize < kMinFileSize)
    log.add(info.fileSize, "file is " + std::to_string(info.fileSize) + " bytes, shorter than the padded minimum " +
                               std::to_string(kMinFileSize));
}

}  // namespace

HeaderInfo readHeader(const FileImage& file, ViolationLog& log) {
  ViolationLog::Scope scope(log, "header");
  HeaderInfo info;
  info.fileSize = file.size();
  const std::uint8_t* h = file.at(0, kHeaderSize);
  if (h == nullptr) {
    log.add(0, "file is shorter than the 512-byte header");
    return info;
  }
  for (std::uint64_t i = 0; i < kMagicSize; ++i) info.magic += h[i] >= 0x20 && h[i] < 0x7F ? char(h[i]) : '?';
  std::uint32_t magic = le32(h);
  if (magic != kMagicUnicode && magic != kMagicAnsi) {
    log.add(0, "magic is " + hex(magic) + ", not \"!BDP\"");
    return info;
  }
  info.unicode = magic == kMagicUnicode;
  if (!info.unicode) log.add(0, "magic \"!BDN\" marks the 8-bit variant, which this reader does not read");
  info.version = le16(h + kOffVer);
  info.clientVersion = le16(h + kOffVerClient);
  info.fileEof = le64(h + kOffFileEof);
  info.amapLast = le64(h + kOffAMapLast);
  info.nbt = {le64(h + kOffNbtBid), le64(h + kOffNbtIb)};
  info.bbt = {le64(h + kOffBbtBid), le64(h + kOffBbtIb)};
  info.amapValid = h[kOffAMapValid] != 0;
  info.cryptMethod = h[kOffCryptMethod];
  checkChecksums(h, log);
  checkFixedFields(h, info, log);
  if (!info.amapValid && rootIsZero(h)) {
    info.state = HeaderState::Provisional;
    return info;
  }
  expectByte(h, kOffAMapValid, 1, "fAMapValid", log);
  info.state = info.unicode ? HeaderState::Final : HeaderState::Invalid;
  checkFinalRoot(info, log);
  return info;
}

const char* stateName(HeaderState state) {
  switch (state) {
    case HeaderState::Final: return "final";
    case HeaderState::Provisional: return "provisional";
    case HeaderState::Invalid: return "invalid";
  }
  return "invalid";
}

}  // namespace vread
