// Named positions and values of the on-disk layout.
#pragma once

#include <cstdint>

namespace vread {
namespace layout {

// Header.
constexpr std::uint64_t kHeaderSize = 512;
constexpr std::uint32_t kMagicUnicode = 0x50444221;  // "!BDP"
constexpr std::uint32_t kMagicAnsi = 0x4E444221;     // "!BDN"
constexpr std::uint64_t kOffCrcPartial = 4;
constexpr std::uint64_t kPartialStart = 8;
constexpr std::uint64_t kPartialLength = 471;  // bytes 8 to 478
constexpr std::uint64_t kOffMagicClient = 8;
constexpr std::uint16_t kMagicClient = 0x534D;  // bytes 0x4D 0x53
constexpr std::uint64_t kOffVer = 10;
constexpr std::uint16_t kVerUnicode = 23;
constexpr std::uint16_t kVerAnsi = 15;
constexpr std::uint64_t kOffVerClient = 12;
constexpr std::uint16_t kVerClient = 19;
constexpr std::uint64_t kOffPlatformCreate = 14;
constexpr std::uint64_t kOffPlatformAccess = 15;
constexpr std::uint64_t kOffBidNextP = 32;
constexpr std::uint64_t kBidNextP = 512;
constexpr std::uint64_t kOffUnique = 40;
constexpr std::uint64_t kOffRgnid = 44;
constexpr int kRgnidCount = 32;
constexpr std::uint64_t kOffRoot = 180;
constexpr std::uint64_t kRootSize = 72;  // 180 to 251
constexpr std::uint64_t kOffFileEof = 184;
constexpr std::uint64_t kOffAMapLast = 192;
constexpr std::uint64_t kOffAMapFree = 200;
constexpr std::uint64_t kOffPMapFree = 208;
constexpr std::uint64_t kOffNbtBid = 216;
constexpr std::uint64_t kOffNbtIb = 224;
constexpr std::uint64_t kOffBbtBid = 232;
constexpr std::uint64_t kOffBbtIb = 240;
constexpr std::uint64_t kOffAMapValid = 248;
constexpr std::uint64_t kOffSentinel = 348;
constexpr std::uint8_t kSentinel = 0x80;
constexpr std::uint64_t kOffCryptMethod = 349;
constexpr std::uint8_t kCryptPermute = 1;
constexpr std::uint64_t kOffCrcFull = 400;

// File regions.
constexpr std::uint64_t kAMapStart = 17408;       // first allocation-map page
constexpr std::uint64_t kReservedEnd = 25600;     // first byte the block allocator may use
constexpr std::uint64_t kUnitSize = 512;          // one allocation-map bit
constexpr std::uint64_t kMinFileSize = 262144;    // every final file is padded to this

// Pages (map pages and B-tree pages).
constexpr std::uint64_t kPageSize = 512;
constexpr std::uint64_t kPageData = 496;
constexpr std::uint64_t kOffPtype = 496;
constexpr std::uint64_t kOffPtypeRepeat = 497;
constexpr std::uint64_t kOffPageSig = 498;
constexpr std::uint64_t kOffPageCrc = 500;
constexpr std::uint64_t kOffPageBid = 504;
constexpr std::uint8_t kPtypeBbt = 0x80;
constexpr std::uint8_t kPtypeNbt = 0x81;
constexpr std::uint8_t kPtypeFMap = 0x82;
constexpr std::uint8_t kPtypePMap = 0x83;
constexpr std::uint8_t kPtypeAMap = 0x84;
constexpr std::uint8_t kPtypeDList = 0x86;

// B-tree pages.
constexpr std::uint64_t kBtEntryArea = 488;
constexpr std::uint64_t kOffCEnt = 488;
constexpr std::uint64_t kOffCEntMax = 489;
constexpr std::uint64_t kOffCbEnt = 490;
constexpr std::uint64_t kOffCLevel = 491;
constexpr std::uint8_t kCbBtEntry = 24;
constexpr std::uint8_t kCbBbtEntry = 24;
constexpr std::uint8_t kCbNbtEntry = 32;
constexpr int kMaxTreeLevels = 2;

// Blocks.
constexpr std::uint64_t kTrailerSize = 16;
constexpr std::uint64_t kBlockAlign = 64;
constexpr std::uint64_t kMaxBlockPayload = 8176;
constexpr std::uint64_t kBidInternal = 0x2;
constexpr std::uint64_t kBidReservedBit = 0x1;
constexpr std::uint8_t kBtypeXBlock = 0x01;
constexpr std::uint8_t kBtypeSBlock = 0x02;
constexpr std::uint64_t kXBlockHeader = 8;
constexpr std::uint64_t kSlEntrySize = 24;
constexpr std::uint64_t kSiEntrySize = 16;

// Offset of a block's trailer and the bytes a block of payload cb occupies.
constexpr std::uint64_t trailerOffset(std::uint64_t cb) { return (cb + kBlockAlign - 1) & ~(kBlockAlign - 1); }
constexpr std::uint64_t blockSpan(std::uint64_t cb) { return trailerOffset(cb) + kTrailerSize; }
constexpr std::uint16_t signature(std::uint64_t ib, std::uint64_t bid) {
  return static_cast<std::uint16_t>((ib ^ bid) & 0xFFFF);
}

// Heap-on-node.
constexpr std::uint8_t kHeapSig = 0xEC;
constexpr std::uint8_t kClientPc = 0xBC;
constexpr std::uint8_t kClientTc = 0x7C;
constexpr std::uint64_t kHeapHeaderSize = 12;
constexpr std::uint8_t kBthType = 0xB5;
constexpr std::uint64_t kBthHeaderSize = 8;

// Fixed node IDs.
constexpr std::uint32_t kNidNameMap = 0x61;
constexpr std::uint32_t kNidStore = 0x421;
constexpr std::uint32_t kNidRoot = 0x2442;
constexpr std::uint32_t kSubHierarchy = 0x0D;
constexpr std::uint32_t kSubContents = 0x0E;
constexpr std::uint32_t kSubAttachments = 0x11;
constexpr std::uint32_t kSubRecipients = 0x12;
constexpr std::uint32_t kNidTypeMask = 0x1F;
constexpr std::uint32_t kNidTypeFolder = 0x02;
constexpr std::uint32_t kNidTypeItem = 0x04;
constexpr std::uint32_t kNidTypeAttachment = 0x05;

}  // namespace layout
}  // namespace vread
