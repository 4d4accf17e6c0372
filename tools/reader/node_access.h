// Reads node data, subnodes and their property and table contexts.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "database.h"
#include "data_tree.h"
#include "property_context.h"
#include "table_context.h"

namespace vread {

class NodeAccess {
 public:
  explicit NodeAccess(const Database& db) : db_(db) {}

  std::optional<NodeBytes> data(std::uint32_t nid, ViolationLog& log) const;
  std::optional<std::vector<SubnodeEntry>> subnodes(std::uint32_t nid, ViolationLog& log) const;
  std::optional<SubnodeEntry> subnode(std::uint32_t nid, std::uint32_t sub, ViolationLog& log) const;
  std::optional<NodeBytes> subnodeData(std::uint32_t nid, std::uint32_t sub, ViolationLog& log) const;
  // Any data tree, given its BID and where the reference to it sits.
  std::optional<NodeBytes> tree(std::uint64_t bid, std::uint64_t refOffset, ViolationLog& log) const;
  std::optional<std::vector<SubnodeEntry>> subnodeTree(std::uint64_t bid, std::uint64_t refOffset,
                                                       ViolationLog& log) const;

  static std::optional<PropertyContext> pc(const std::optional<NodeBytes>& data, ViolationLog& log);
  static std::optional<TableContext> tc(const std::optional<NodeBytes>& data, ViolationLog& log);

  // Every BID reached through node data, subnodes or attachment data.
  const std::set<std::uint64_t>& reached() const { return reached_; }

 private:
  const Database& db_;
  mutable std::set<std::uint64_t> reached_;
};

}  // namespace vread
