// The in-memory database of every node and block the two B-trees will
// index, with the counters that hand out NIDs and BIDs.
#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/coding.h"

namespace virel {
namespace ndb {

// NID types used by the writer (low five bits of a NID).
enum NidType : uint8_t {
  kNidTypeNormalFolder = 0x02,
  kNidTypeNormalMessage = 0x04,
};

// One node as the NBT lists it.
struct Node {
  uint64_t nid = 0;
  uint64_t bid_data = 0;
  uint64_t bid_sub = 0;
  uint64_t nid_parent = 0;
};

// One written block or placed page as the BBT lists it.
struct BlockRecord {
  uint64_t bid = 0;
  uint64_t ib = 0;
  uint16_t cb = 0;
  uint16_t ref_count = 1;
  uint64_t size = 0;  // bytes occupied in the file
};

// Pages of one built tree, leaves first; the root is at `root`.
struct TreeBuild {
  std::vector<Bytes> pages;
  std::vector<uint64_t> bids;
  size_t root = 0;
};

inline constexpr size_t kNbtLeafCapacity = 15;
inline constexpr size_t kBbtLeafCapacity = 20;
inline constexpr size_t kRootCapacity = 20;

class NodeRegistry {
 public:
  NodeRegistry();

  // A new node of `type` under `parent`, with a NID no node holds yet.
  Node NewNode(uint8_t type, uint64_t parent);
  void PutNode(const Node& node);
  std::optional<Node> FindNode(uint64_t nid) const;
  std::optional<BlockRecord> FindBlock(uint64_t bid) const;
  void RegisterBlock(uint64_t bid, uint64_t ib, uint64_t cb);
  void RegisterPage(uint64_t bid, uint64_t ib);
  // Forgets every placed page: a close that failed part-way placed pages
  // that the retried close replaces, and the BBT must not list them.
  void DropPages();
  uint64_t NextBid(bool internal);

  size_t node_count() const { return nodes_.size(); }
  size_t block_count() const { return blocks_.size(); }

  // Throw std::runtime_error past the two-level limits.
  TreeBuild BuildNbt();
  TreeBuild BuildBbt();

 private:
  uint32_t next_node_index_ = 1;
  uint64_t next_block_index_ = 1;
  std::unordered_map<uint32_t, Node> nodes_;
  std::unordered_map<uint64_t, BlockRecord> blocks_;
  std::vector<uint64_t> page_bids_;
};

}  // namespace ndb
}  // namespace virel
