// Walks the pages of one B-tree, checking each page, and hands out leaf entries.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "btree.h"

namespace vread {

class BTreeWalker {
 public:
  using LeafVisitor = std::function<void(const std::uint8_t* entry, std::uint64_t offset)>;

  BTreeWalker(const FileImage& file, std::uint64_t fileEof, std::uint8_t ptype, std::uint8_t leafEntrySize,
              std::string name, ViolationLog& log);

  // Visits every leaf entry in key order; returns the pages read.
  std::vector<PageInfo> walk(const BRef& root, const LeafVisitor& visitor);

 private:
  // Returns the first key of the page, or nothing when the page is unusable.
  bool visit(const BRef& ref, int expectedLevel, std::uint64_t& firstKey, const LeafVisitor& visitor);
  bool checkShape(const std::uint8_t* page, std::uint64_t ib, int expectedLevel);
  void visitChildren(const std::uint8_t* page, std::uint64_t ib, int level, const LeafVisitor& visitor);
  void visitLeaves(const std::uint8_t* page, std::uint64_t ib, const LeafVisitor& visitor);
  void checkKeyOrder(std::uint64_t key, std::uint64_t offset);

  const FileImage& file_;
  std::uint64_t fileEof_;
  std::uint8_t ptype_;
  std::uint8_t leafEntrySize_;
  std::string name_;
  ViolationLog& log_;
  std::vector<PageInfo> pages_;
  std::set<std::uint64_t> seen_;
  bool haveKey_ = false;
  std::uint64_t lastKey_ = 0;
};

}  // namespace vread
