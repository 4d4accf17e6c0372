#include "map_pages.h"

#include "layout.h"
#include "page.h"

namespace vread {
namespace {

using namespace layout;

constexpr std::uint64_t kPMapOffset = kAMapStart + kPageSize;
constexpr std::uint64_t kFMapOffset = kAMapStart + 2 * kPageSize;
constexpr std::uint64_t kDListOffset = kAMapStart + 3 * kPageSize;
constexpr std::uint64_t kSecondAMap = kAMapStart + 4 * kPageSize;
constexpr std::uint64_t kReservedUnits = kReservedEnd / kUnitSize;
constexpr std::uint8_t kFullByte = 0xFF;

const std::uint8_t* readMapPage(const FileImage& file, std::uint64_t ib, std::uint8_t ptype, const char* what,
                                MapPages& pages, ViolationLog& log) {
  const std::uint8_t* p = readPage(file, ib, {ptype, ib, 0, what}, log);
  if (p != nullptr) pages.offsets.push_back(ib);
  return p;
}

void checkFilled(const std::uint8_t* p, std::uint64_t ib, const char* what, ViolationLog& log) {
  for (std::uint64_t i = 0; i < kPageData; ++i)
    if (p[i] != kFullByte) {
      log.add(ib + i, std::string(what) + " data byte is " + hex(p[i]) + ", expected 0xFF");
      return;
    }
}

void checkDensityList(const std::uint8_t* p, ViolationLog& log) {
  if (p[0] != 0 || p[1] != 1 || le16(p + 2) != 0)
    log.add(kDListOffset, "density list header is not {flags 0, one entry}");
  if (le32(p + 4) != kAMapStart)
    log.add(kDListOffset + 4, "density list entry is " + hex(le32(p + 4)) + ", expected " + hex(kAMapStart));
  for (std::uint64_t i = 8; i < kPageData; ++i)
    if (p[i] != 0) {
      log.add(kDListOffset + i, "density list has non-zero data after its entry");
      return;
    }
}

void appendAMap(const std::uint8_t* p, MapPages& pages) {
  pages.bitmap.insert(pages.bitmap.end(), p, p + kPageData);
  ++pages.amapCount;
}

void readFurtherAMaps(const FileImage& file, MapPages& pages, ViolationLog& log) {
  std::uint64_t ib = kSecondAMap;
  for (; ib + kPageSize <= kReservedEnd && looksLikePage(file, ib, kPtypeAMap); ib += kPageSize) {
    const std::uint8_t* p = readMapPage(file, ib, kPtypeAMap, "AMap page", pages, log);
    if (p != nullptr) appendAMap(p, pages);
  }
  if (ib >= kReservedEnd && looksLikePage(file, ib, kPtypeAMap) && le64(file.at(ib, kPageSize) + kOffPageBid) == ib)
    log.add(ib, "AMap page overruns the reserved head of the file into the block area");
}

void checkBitmap(const MapPages& pages, const HeaderInfo& header, ViolationLog& log) {
  for (std::uint64_t unit = 0; unit < kReservedUnits; ++unit)
    if (!pages.unitUsed(unit)) {
      log.add(kAMapStart + unit / 8, "AMap leaves reserved unit " + std::to_string(unit) + " unmarked");
      return;
    }
  std::uint64_t firstPastEof = (header.fileEof + kUnitSize - 1) / kUnitSize;
  for (std::uint64_t unit = firstPastEof; unit < pages.bitmap.size() * 8; ++unit)
    if (pages.unitUsed(unit)) {
      log.add(kAMapStart, "AMap marks unit " + std::to_string(unit) + ", which lies past ibFileEof");
      return;
    }
}

}  // namespace

bool MapPages::unitUsed(std::uint64_t unit) const {
  return unit / 8 < bitmap.size() && (bitmap[unit / 8] >> (unit % 8)) & 1u;
}

MapPages readMapPages(const FileImage& file, const HeaderInfo& header, ViolationLog& log) {
  ViolationLog::Scope scope(log, "allocation map");
  MapPages pages;
  if (const std::uint8_t* p = readMapPage(file, kAMapStart, kPtypeAMap, "AMap page", pages, log)) appendAMap(p, pages);
  if (const std::uint8_t* p = readMapPage(file, kPMapOffset, kPtypePMap, "PMap page", pages, log))
    checkFilled(p, kPMapOffset, "PMap", log);
  if (const std::uint8_t* p = readMapPage(file, kFMapOffset, kPtypeFMap, "FMap page", pages, log))
    checkFilled(p, kFMapOffset, "FMap", log);
  if (const std::uint8_t* p = readMapPage(file, kDListOffset, kPtypeDList, "density list page", pages, log))
    checkDensityList(p, log);
  readFurtherAMaps(file, pages, log);
  checkBitmap(pages, header, log);
  return pages;
}

}  // namespace vread
