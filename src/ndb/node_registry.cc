#include "ndb/node_registry.h"

#include <algorithm>
#include <stdexcept>

#include "ndb/block.h"
#include "ndb/btree_page.h"
#include "ndb/page_trailer.h"

namespace virel {
namespace ndb {
namespace {

constexpr uint8_t kNidTypeMask = 0x1F;
constexpr int kNidIndexShift = 5;
constexpr size_t kBucketCount = 8;

// Leaf entries in key order: each key, and all entries back to back.
struct SortedEntries {
  std::vector<uint64_t> keys;
  Bytes bytes;
};

struct TreeShape {
  uint8_t entry_size;
  size_t leaf_capacity;
  uint8_t ptype;
  const char* overflow_message;
};

Bytes Slice(const SortedEntries& entries, size_t entry_size, size_t from, size_t to) {
  return Bytes(entries.bytes.begin() + static_cast<std::ptrdiff_t>(from * entry_size),
               entries.bytes.begin() + static_cast<std::ptrdiff_t>(to * entry_size));
}

// One leaf when the entries fit, else leaves under a root.
TreeBuild BuildTree(const SortedEntries& entries, const TreeShape& shape,
                    NodeRegistry* registry) {
  TreeBuild tree;
  const size_t count = entries.keys.size();
  if (count <= shape.leaf_capacity) {
    const uint64_t bid = registry->NextBid(true);
    tree.pages.push_back(BuildBTreePage(entries.bytes, shape.entry_size, kLeafLevel,
                                        shape.ptype, bid));
    tree.bids.push_back(bid);
    return tree;
  }
  std::vector<uint64_t> keys;
  for (size_t from = 0; from < count; from += shape.leaf_capacity) {
    const size_t to = std::min(count, from + shape.leaf_capacity);
    keys.push_back(entries.keys[from]);
    const uint64_t bid = registry->NextBid(true);
    tree.pages.push_back(BuildBTreePage(Slice(entries, shape.entry_size, from, to),
                                        shape.entry_size, kLeafLevel,
                                        shape.ptype, bid));
    tree.bids.push_back(bid);
    if (tree.pages.size() > kRootCapacity) {
      throw std::runtime_error(shape.overflow_message);
    }
  }
  Bytes root_entries;
  for (size_t k = 0; k < keys.size(); ++k) {
    PutBTEntry(&root_entries, keys[k], tree.bids[k], 0);
  }
  const uint64_t root_bid = registry->NextBid(true);
  tree.pages.push_back(BuildBTreePage(root_entries, kBTEntrySize, kRootLevel,
                                      shape.ptype, root_bid));
  tree.bids.push_back(root_bid);
  tree.root = tree.pages.size() - 1;
  return tree;
}

}  // namespace

NodeRegistry::NodeRegistry() {
  nodes_.max_load_factor(1.0f);
  nodes_.rehash(kBucketCount);
  blocks_.max_load_factor(1.0f);
  blocks_.rehash(kBucketCount);
}

Node NodeRegistry::NewNode(uint8_t type, uint64_t parent) {
  // Fixed NIDs registered at opening sit on the counter's path: skip them.
  uint32_t nid;
  do {
    nid = (type & kNidTypeMask) | (next_node_index_++ << kNidIndexShift);
  } while (nodes_.count(nid) != 0);
  Node node;
  node.nid = nid;
  node.nid_parent = parent;
  PutNode(node);
  return node;
}

void NodeRegistry::PutNode(const Node& node) {
  nodes_[static_cast<uint32_t>(node.nid)] = node;
}

std::optional<Node> NodeRegistry::FindNode(uint64_t nid) const {
  auto it = nodes_.find(static_cast<uint32_t>(nid));
  if (it == nodes_.end()) return std::nullopt;
  return it->second;
}

std::optional<BlockRecord> NodeRegistry::FindBlock(uint64_t bid) const {
  auto it = blocks_.find(bid);
  if (it == blocks_.end()) return std::nullopt;
  return it->second;
}

void NodeRegistry::RegisterBlock(uint64_t bid, uint64_t ib, uint64_t cb) {
  blocks_[bid] = {bid, ib, static_cast<uint16_t>(cb), 1, BlockSize(cb)};
}

void NodeRegistry::RegisterPage(uint64_t bid, uint64_t ib) {
  blocks_[bid] = {bid, ib, static_cast<uint16_t>(kPageDataSize), 1, kPageSize};
  page_bids_.push_back(bid);
}

void NodeRegistry::DropPages() {
  for (uint64_t bid : page_bids_) blocks_.erase(bid);
  page_bids_.clear();
}

uint64_t NodeRegistry::NextBid(bool internal) {
  return MakeBid(next_block_index_++, internal);
}

TreeBuild NodeRegistry::BuildNbt() {
  std::vector<const Node*> sorted;
  sorted.reserve(nodes_.size());
  for (const auto& kv : nodes_) sorted.push_back(&kv.second);
  std::sort(sorted.begin(), sorted.end(), [](const Node* a, const Node* b) {
    return static_cast<uint32_t>(a->nid) < static_cast<uint32_t>(b->nid);
  });
  SortedEntries entries;
  entries.keys.reserve(sorted.size());
  entries.bytes.reserve(sorted.size() * kNbtEntrySize);
  for (const Node* n : sorted) {
    entries.keys.push_back(static_cast<uint32_t>(n->nid));
    PutNbtEntry(&entries.bytes, static_cast<uint32_t>(n->nid), n->bid_data, n->bid_sub,
                static_cast<uint32_t>(n->nid_parent));
  }
  return BuildTree(entries,
                   {kNbtEntrySize, kNbtLeafCapacity, kPageTypeNbt,
                    "NBT too large for 2-level tree (>300 nodes). Multi-level "
                    "not yet supported."},
                   this);
}

TreeBuild NodeRegistry::BuildBbt() {
  std::vector<const BlockRecord*> sorted;
  sorted.reserve(blocks_.size());
  for (const auto& kv : blocks_) sorted.push_back(&kv.second);
  std::sort(sorted.begin(), sorted.end(),
            [](const BlockRecord* a, const BlockRecord* b) { return a->bid < b->bid; });
  SortedEntries entries;
  entries.keys.reserve(sorted.size());
  entries.bytes.reserve(sorted.size() * kBbtEntrySize);
  for (const BlockRecord* b : sorted) {
    entries.keys.push_back(b->bid);
    PutBbtEntry(&entries.bytes, b->bid, b->ib, b->cb);
  }
  return BuildTree(entries,
                   {kBbtEntrySize, kBbtLeafCapacity, kPageTypeBbt,
                    "BBT too large for 2-level tree (>400 blocks). Multi-level "
                    "not yet supported."},
                   this);
}

}  // namespace ndb
}  // namespace virel
