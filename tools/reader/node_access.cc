#include "node_access.h"

namespace vread {

std::optional<NodeBytes> NodeAccess::tree(std::uint64_t bid, std::uint64_t refOffset, ViolationLog& log) const {
  DataTreeReader reader(db_.blocks(), log);
  auto out = reader.readData(bid, refOffset);
  reached_.insert(reader.reached().begin(), reader.reached().end());
  return out;
}

std::optional<std::vector<SubnodeEntry>> NodeAccess::subnodeTree(std::uint64_t bid, std::uint64_t refOffset,
                                                                 ViolationLog& log) const {
  DataTreeReader reader(db_.blocks(), log);
  auto out = reader.readSubnodes(bid, refOffset);
  reached_.insert(reader.reached().begin(), reader.reached().end());
  return out;
}

std::optional<NodeBytes> NodeAccess::data(std::uint32_t nid, ViolationLog& log) const {
  const NodeEntry* n = db_.node(nid);
  if (n == nullptr || n->bidData == 0) return std::nullopt;
  return tree(n->bidData, n->entryOffset + 8, log);
}

std::optional<std::vector<SubnodeEntry>> NodeAccess::subnodes(std::uint32_t nid, ViolationLog& log) const {
  const NodeEntry* n = db_.node(nid);
  if (n == nullptr) return std::nullopt;
  if (n->bidSub == 0) return std::vector<SubnodeEntry>{};
  return subnodeTree(n->bidSub, n->entryOffset + 16, log);
}

std::optional<SubnodeEntry> NodeAccess::subnode(std::uint32_t nid, std::uint32_t sub, ViolationLog& log) const {
  auto all = subnodes(nid, log);
  if (!all) return std::nullopt;
  for (const auto& e : *all)
    if (e.nid == sub) return e;
  return std::nullopt;
}

std::optional<NodeBytes> NodeAccess::subnodeData(std::uint32_t nid, std::uint32_t sub, ViolationLog& log) const {
  auto e = subnode(nid, sub, log);
  const NodeEntry* n = db_.node(nid);
  if (!e || n == nullptr) return std::nullopt;
  return tree(e->bidData, n->entryOffset + 16, log);
}

std::optional<PropertyContext> NodeAccess::pc(const std::optional<NodeBytes>& data, ViolationLog& log) {
  if (!data) return std::nullopt;
  auto heap = Heap::parse(*data, log);
  if (!heap) return std::nullopt;
  return PropertyContext::parse(*heap, log);
}

std::optional<TableContext> NodeAccess::tc(const std::optional<NodeBytes>& data, ViolationLog& log) {
  if (!data) return std::nullopt;
  auto heap = Heap::parse(*data, log);
  if (!heap) return std::nullopt;
  return TableContext::parse(*heap, log);
}

}  // namespace vread
