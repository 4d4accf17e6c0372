#include "placement.h"

#include <algorithm>
#include <set>
#include <string>

#include "layout.h"
#include "page.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint16_t kPageAsBlockCb = 496;

struct Extent {
  std::uint64_t start = 0;
  std::uint64_t end = 0;
  std::string what;
};

std::set<std::uint64_t> pageOffsets(const std::vector<PageInfo>& pages) {
  std::set<std::uint64_t> out;
  for (const auto& p : pages) out.insert(p.ib);
  return out;
}

void checkEntry(const BlockEntry& b, bool isPage, std::uint64_t span, const HeaderInfo& header, ViolationLog& log) {
  std::string name = "block " + hex(b.bid);
  if (b.bid & kBidReservedBit) log.add(b.entryOffset, name + " has bit 0 of its BID set");
  if (b.ib < kReservedEnd) log.add(b.entryOffset + 8, name + " lies in the reserved head of the file at " + hex(b.ib));
  if (b.ib + span > header.fileEof)
    log.add(b.entryOffset + 8, name + " at " + hex(b.ib) + " ends past ibFileEof " + hex(header.fileEof));
  if (isPage && b.cb != kPageAsBlockCb)
    log.add(b.entryOffset + 16, "NBT page " + hex(b.bid) + " is listed with cb " + std::to_string(b.cb));
}

void checkNbtPagesListed(const NodeTree& nbt, const BlockStore& store, ViolationLog& log) {
  for (const auto& p : nbt.pages) {
    const BlockEntry* e = store.find(p.bid);
    if (e == nullptr || e->ib != p.ib) log.add(p.ib, "NBT page " + hex(p.bid) + " is not listed in the BBT");
  }
}

void checkUniqueIndex(const BlockTree& bbt, ViolationLog& log) {
  std::set<std::uint64_t> seen;
  for (const auto& b : bbt.blocks)
    if (!seen.insert(b.bid >> 2).second)
      log.add(b.entryOffset, "block " + hex(b.bid) + " shares its BID index with another block");
}

// A listed B-tree page that neither B-tree uses: a close retried after a
// failed finalisation lists the first attempt's pages. It is a sound page
// that nothing needs.
bool isStalePage(const PlacementInput& in, const BlockEntry& b) {
  if (b.cb != kPageAsBlockCb) return false;
  for (std::uint8_t ptype : {kPtypeNbt, kPtypeBbt}) {
    if (!looksLikePage(in.file, b.ib, ptype)) continue;
    ViolationLog quiet;
    readPage(in.file, b.ib, {ptype, b.bid, signature(b.ib, b.bid), "page"}, quiet);
    return quiet.empty();
  }
  return false;
}

std::vector<Extent> collectExtents(const PlacementInput& in, ViolationLog& log) {
  std::vector<Extent> out{{0, kHeaderSize, "header"}};
  for (std::uint64_t ib : in.maps.offsets) out.push_back({ib, ib + kPageSize, "map page"});
  for (const auto& p : in.bbt.pages) out.push_back({p.ib, p.ib + kPageSize, "BBT page " + hex(p.bid)});
  std::set<std::uint64_t> nbtPages = pageOffsets(in.nbt.pages);
  for (const auto& b : in.bbt.blocks) {
    if (isEmptyDataEntry(b)) continue;  // takes no space
    if (!nbtPages.count(b.ib) && isStalePage(in, b)) {
      log.warn(b.ib, kPageSize, "page " + hex(b.bid) + " is listed in the BBT but belongs to neither B-tree");
      out.push_back({b.ib, b.ib + kPageSize, "page " + hex(b.bid)});
      continue;
    }
    bool isPage = nbtPages.count(b.ib) != 0;
    const std::uint64_t span = isPage ? kPageSize : blockSpan(in.store.payloadSize(b));
    checkEntry(b, isPage, span, in.header, log);
    if (!isPage) in.store.read(b.bid, log);
    out.push_back({b.ib, b.ib + span,
                   (isPage ? "NBT page " : "block ") + hex(b.bid)});
  }
  return out;
}

void checkOverlaps(std::vector<Extent>& extents, ViolationLog& log) {
  std::sort(extents.begin(), extents.end(),
            [](const Extent& a, const Extent& b) { return a.start != b.start ? a.start < b.start : a.end < b.end; });
  for (std::size_t i = 1; i < extents.size(); ++i) {
    const Extent& prev = extents[i - 1];
    if (extents[i].start < prev.end)
      log.add(extents[i].start, extents[i].what + " overlaps " + prev.what + " (" + hex(prev.start) + ".." +
                                    hex(prev.end) + ")");
  }
  for (const auto& e : extents)
    if (e.what == "map page" && e.end > kReservedEnd) log.add(e.start, "map page lies past the reserved head");
}

// Walks the gaps between extents up to ibFileEof, decoding any block found.
// Bytes that hold no block are unlisted space up to the next block found
// on the block alignment: a warning, since nothing listed depends on them.
std::vector<UnlistedBlock> scanGaps(const PlacementInput& in, const std::vector<Extent>& extents, ViolationLog& log) {
  std::vector<UnlistedBlock> found;
  std::uint64_t pos = kReservedEnd;
  std::size_t next = 0;
  // A header that points past the end of the file was reported already.
  const std::uint64_t end = std::min(in.header.fileEof, in.file.size());
  while (pos < end) {
    while (next < extents.size() && extents[next].end <= pos) ++next;
    std::uint64_t gapEnd = next < extents.size() ? std::min(extents[next].start, end) : end;
    if (gapEnd <= pos) {
      pos = extents[next].end;
      continue;
    }
    auto block = in.store.readAt(pos);
    if (block && pos + blockSpan(block->data.size()) <= gapEnd) {
      found.push_back({block->bid, pos, static_cast<std::uint16_t>(block->data.size()), block->crcOk, block->data});
      pos += blockSpan(block->data.size());
      continue;
    }
    std::uint64_t resume = pos + kBlockAlign;
    while (resume < gapEnd && !in.store.readAt(resume)) resume += kBlockAlign;
    resume = std::min(resume, gapEnd);
    log.warn(pos, resume - pos, "unlisted space: " + std::to_string(resume - pos) +
                                    " bytes are covered by no listed block or page");
    pos = resume;
  }
  return found;
}

}  // namespace

std::vector<UnlistedBlock> checkPlacement(const PlacementInput& in, ViolationLog& log) {
  ViolationLog::Scope scope(log, "placement");
  checkUniqueIndex(in.bbt, log);
  checkNbtPagesListed(in.nbt, in.store, log);
  std::vector<Extent> extents = collectExtents(in, log);
  checkOverlaps(extents, log);
  return scanGaps(in, extents, log);
}

}  // namespace vread
