#include "ndb/subnode_list.h"

#include <algorithm>

namespace virel {
namespace ndb {
namespace {
constexpr uint8_t kBlockTypeSubnode = 0x02;
constexpr uint8_t kLeafLevel = 0;
}  // namespace

void SubnodeListBuilder::SortByNid() {
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const SubnodeEntry& a, const SubnodeEntry& b) {
                     return a.nid < b.nid;
                   });
}

Bytes SubnodeListBuilder::Finish() const {
  Bytes out;
  PutFixed8(&out, kBlockTypeSubnode);
  PutFixed8(&out, kLeafLevel);
  PutFixed16(&out, static_cast<uint16_t>(entries_.size()));
  PutFixed32(&out, 0);
  for (const SubnodeEntry& e : entries_) {
    PutFixed64(&out, e.nid);
    PutFixed64(&out, e.bid_data);
    PutFixed64(&out, e.bid_sub);
  }
  return out;
}

}  // namespace ndb
}  // namespace virel
