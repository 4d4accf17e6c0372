// Node data reassembled from data blocks and X/XX blocks, and subnode lists
// from SL/SI blocks.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "block_store.h"

namespace vread {

// A stretch of node data and where it sits in the file.
struct Segment {
  std::size_t start = 0;
  std::uint64_t fileOffset = 0;
  std::size_t length = 0;
};

struct NodeBytes {
  Bytes bytes;
  std::vector<Segment> segments;
  // File offset of data byte `pos` (of the block start when unknown).
  std::uint64_t fileOffset(std::size_t pos) const;
};

struct SubnodeEntry {
  std::uint32_t nid = 0;
  std::uint64_t bidData = 0;
  std::uint64_t bidSub = 0;
};

class DataTreeReader {
 public:
  DataTreeReader(const BlockStore& blocks, ViolationLog& log) : blocks_(blocks), log_(log) {}

  // `refOffset` is where the reference to `bid` sits (for violation offsets).
  std::optional<NodeBytes> readData(std::uint64_t bid, std::uint64_t refOffset);
  std::optional<std::vector<SubnodeEntry>> readSubnodes(std::uint64_t bid, std::uint64_t refOffset);

  // Every BID reached so far, data and structure blocks alike.
  const std::set<std::uint64_t>& reached() const { return reached_; }

 private:
  std::optional<BlockPayload> fetch(std::uint64_t bid, std::uint64_t refOffset, const char* what);
  bool appendChunk(std::uint64_t bid, std::uint64_t refOffset, NodeBytes& out);
  bool appendXBlock(const BlockPayload& block, int level, NodeBytes& out);
  bool collectSubnodes(std::uint64_t bid, std::uint64_t refOffset, int depth, std::vector<SubnodeEntry>& out);

  const BlockStore& blocks_;
  ViolationLog& log_;
  std::set<std::uint64_t> reached_;
  std::set<std::uint64_t> inTree_;  // the blocks of the tree being read
};

}  // namespace vread
