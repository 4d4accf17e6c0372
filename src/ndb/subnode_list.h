// SLBLOCK payload: the subnodes of one node, in the order added.
#pragma once

#include <cstdint>
#include <vector>

#include "core/coding.h"

namespace virel {
namespace ndb {

struct SubnodeEntry {
  uint32_t nid;
  uint64_t bid_data;
  uint64_t bid_sub;
};

class SubnodeListBuilder {
 public:
  void Add(uint32_t nid, uint64_t bid_data, uint64_t bid_sub = 0) {
    entries_.push_back({nid, bid_data, bid_sub});
  }
  bool empty() const { return entries_.empty(); }
  // Sorts the entries ascending by subnode NID.
  void SortByNid();
  Bytes Finish() const;

 private:
  std::vector<SubnodeEntry> entries_;
};

}  // namespace ndb
}  // namespace virel
