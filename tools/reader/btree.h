// The node B-tree (NBT) and block B-tree (BBT).
#pragma once

#include <cstdint>
#include <vector>

#include "file_image.h"
#include "header.h"
#include "layout.h"
#include "violations.h"

namespace vread {

struct NodeEntry {
  std::uint32_t nid = 0;
  std::uint64_t bidData = 0;
  std::uint64_t bidSub = 0;
  std::uint32_t parent = 0;
  std::uint64_t entryOffset = 0;  // where the NBT entry sits in the file
};

struct BlockEntry {
  std::uint64_t bid = 0;
  std::uint64_t ib = 0;
  std::uint16_t cb = 0;
  std::uint16_t cRef = 0;
  std::uint64_t entryOffset = 0;  // where the BBT entry sits in the file
};

// An attachment without data gets a data BID of its own, listed at offset 0
// with size 0: a block that takes no space and holds no bytes.
inline bool isEmptyDataEntry(const BlockEntry& e) {
  return e.ib == 0 && e.cb == 0 && (e.bid & layout::kBidInternal) == 0;
}

struct PageInfo {
  std::uint64_t bid = 0;
  std::uint64_t ib = 0;
  std::uint8_t ptype = 0;
  std::uint8_t level = 0;
};

struct NodeTree {
  std::vector<NodeEntry> nodes;  // in key order
  std::vector<PageInfo> pages;
};

struct BlockTree {
  std::vector<BlockEntry> blocks;  // in key order
  std::vector<PageInfo> pages;
};

NodeTree readNodeTree(const FileImage& file, const HeaderInfo& header, ViolationLog& log);
BlockTree readBlockTree(const FileImage& file, const HeaderInfo& header, ViolationLog& log);

}  // namespace vread
