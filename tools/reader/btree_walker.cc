#include "btree_walker.h"

#include "layout.h"
#include "page.h"

namespace vread {

using namespace layout;

BTreeWalker::BTreeWalker(const FileImage& file, std::uint64_t fileEof, std::uint8_t ptype,
                         std::uint8_t leafEntrySize, std::string name, ViolationLog& log)
    : file_(file), fileEof_(fileEof), ptype_(ptype), leafEntrySize_(leafEntrySize), name_(std::move(name)),
      log_(log) {}

std::vector<PageInfo> BTreeWalker::walk(const BRef& root, const LeafVisitor& visitor) {
  std::uint64_t firstKey = 0;
  visit(root, -1, firstKey, visitor);
  return pages_;
}

bool BTreeWalker::visit(const BRef& ref, int expectedLevel, std::uint64_t& firstKey, const LeafVisitor& visitor) {
  if (!seen_.insert(ref.ib).second) {
    log_.add(ref.ib, name_ + " page " + hex(ref.bid) + " is reached twice");
    return false;
  }
  if (ref.ib + kPageSize > fileEof_) log_.add(ref.ib, name_ + " page " + hex(ref.bid) + " runs past ibFileEof");
  if (ref.bid & kBidReservedBit) log_.add(ref.ib, name_ + " page BID " + hex(ref.bid) + " has bit 0 set");
  const std::uint8_t* page =
      readPage(file_, ref.ib, {ptype_, ref.bid, signature(ref.ib, ref.bid), name_ + " page"}, log_);
  if (page == nullptr || !checkShape(page, ref.ib, expectedLevel)) return false;
  int level = page[kOffCLevel];
  pages_.push_back({ref.bid, ref.ib, ptype_, static_cast<std::uint8_t>(level)});
  if (page[kOffCEnt] == 0) return false;
  firstKey = le64(page);
  if (level == 0)
    visitLeaves(page, ref.ib, visitor);
  else
    visitChildren(page, ref.ib, level, visitor);
  return true;
}

bool BTreeWalker::checkShape(const std::uint8_t* page, std::uint64_t ib, int expectedLevel) {
  int level = page[kOffCLevel];
  std::uint8_t cbEnt = page[kOffCbEnt];
  std::uint8_t wantCb = level == 0 ? leafEntrySize_ : kCbBtEntry;
  if (expectedLevel >= 0 && level != expectedLevel) {
    log_.add(ib + kOffCLevel, name_ + " page has cLevel " + std::to_string(level) + ", expected " +
                                  std::to_string(expectedLevel));
    return false;
  }
  if (level >= kMaxTreeLevels) {
    log_.add(ib + kOffCLevel, name_ + " has more than two levels (cLevel " + std::to_string(level) + ")");
    return false;
  }
  if (cbEnt != wantCb) {
    log_.add(ib + kOffCbEnt, name_ + " page cbEnt " + std::to_string(cbEnt) + ", expected " + std::to_string(wantCb));
    return false;
  }
  if (page[kOffCEntMax] != kBtEntryArea / cbEnt)
    log_.add(ib + kOffCEntMax, name_ + " page cEntMax " + std::to_string(page[kOffCEntMax]) + ", expected " +
                                   std::to_string(kBtEntryArea / cbEnt));
  if (page[kOffCEnt] * cbEnt > kBtEntryArea) {
    log_.add(ib + kOffCEnt, name_ + " page cEnt " + std::to_string(page[kOffCEnt]) + " overflows the page");
    return false;
  }
  if (level > 0 && page[kOffCEnt] == 0) log_.add(ib + kOffCEnt, name_ + " intermediate page has no entries");
  return true;
}

void BTreeWalker::visitChildren(const std::uint8_t* page, std::uint64_t ib, int level, const LeafVisitor& visitor) {
  for (unsigned i = 0; i < page[kOffCEnt]; ++i) {
    const std::uint8_t* e = page + i * kCbBtEntry;
    std::uint64_t key = le64(e);
    BRef child{le64(e + 8), le64(e + 16)};
    std::uint64_t childKey = 0;
    if (visit(child, level - 1, childKey, visitor) && childKey != key)
      log_.add(ib + i * kCbBtEntry, name_ + " entry key " + hex(key) + " differs from its child's first key " +
                                        hex(childKey));
  }
}

void BTreeWalker::visitLeaves(const std::uint8_t* page, std::uint64_t ib, const LeafVisitor& visitor) {
  for (unsigned i = 0; i < page[kOffCEnt]; ++i) {
    std::uint64_t offset = ib + i * leafEntrySize_;
    checkKeyOrder(le64(page + i * leafEntrySize_), offset);
    visitor(page + i * leafEntrySize_, offset);
  }
}

void BTreeWalker::checkKeyOrder(std::uint64_t key, std::uint64_t offset) {
  if (haveKey_ && key <= lastKey_)
    log_.add(offset, name_ + " key " + hex(key) + " does not follow " + hex(lastKey_) + " in ascending order");
  haveKey_ = true;
  lastKey_ = key;
}

}  // namespace vread
