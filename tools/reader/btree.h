// The node B-tree (NBT) and block B-tree (BBT).
#pragma once

#include <cstdint>
#include <vector>

#include "file_image.h"
#include "header.h"
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
