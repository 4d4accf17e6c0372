#include "ndb/btree_page.h"

#include <algorithm>
#include <stdexcept>

#include "ndb/page_trailer.h"

namespace virel {
namespace ndb {
namespace {
constexpr uint16_t kBlockRefCount = 1;
}  // namespace

Bytes BuildBTreePage(const Bytes& entries, uint8_t entry_size, uint8_t level,
                     uint8_t ptype, uint64_t bid) {
  if (entries.size() > kBTreeEntryArea) {
    throw std::runtime_error("BTree page entries exceed data area capacity");
  }
  Bytes page(kPageSize, 0);
  std::copy(entries.begin(), entries.end(), page.begin());
  const size_t count = entry_size == 0 ? 0 : entries.size() / entry_size;
  const size_t max_count = entry_size == 0 ? 0 : kBTreeEntryArea / entry_size;
  page[btpage_offset::kCount] = static_cast<uint8_t>(count);
  page[btpage_offset::kMaxCount] = static_cast<uint8_t>(max_count);
  page[btpage_offset::kEntrySize] = entry_size;
  page[btpage_offset::kLevel] = level;
  WritePageTrailer(page.data(), ptype, static_cast<uint16_t>(bid & 0xFFFF), bid);
  return page;
}

void PutBTEntry(Bytes* out, uint64_t key, uint64_t bid, uint64_t ib) {
  PutFixed64(out, key);
  PutFixed64(out, bid);
  PutFixed64(out, ib);
}

void PutBbtEntry(Bytes* out, uint64_t bid, uint64_t ib, uint16_t cb) {
  PutFixed64(out, bid);
  PutFixed64(out, ib);
  PutFixed16(out, cb);
  PutFixed16(out, kBlockRefCount);
  PutFixed32(out, 0);
}

void PutNbtEntry(Bytes* out, uint32_t nid, uint64_t bid_data, uint64_t bid_sub,
                 uint32_t nid_parent) {
  PutFixed64(out, nid);
  PutFixed64(out, bid_data);
  PutFixed64(out, bid_sub);
  PutFixed32(out, nid_parent);
  PutFixed32(out, 0);
}

}  // namespace ndb
}  // namespace virel
