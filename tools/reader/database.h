// The node database of a file: header, allocation map, both B-trees and the
// blocks they list, read and cross-checked.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "block_store.h"
#include "btree.h"
#include "header.h"
#include "map_pages.h"

namespace vread {

// A block found in the file that the BBT does not list.
struct UnlistedBlock {
  std::uint64_t bid = 0;
  std::uint64_t ib = 0;
  std::uint16_t cb = 0;
  bool crcOk = false;
  Bytes payload;  // decoded
};

class Database {
 public:
  // `file` must outlive the database. Violations go to `log`.
  Database(const FileImage& file, ViolationLog& log);

  const FileImage& file() const { return file_; }
  const HeaderInfo& header() const { return header_; }
  // True when the header is final and both B-trees could be walked.
  bool readable() const { return readable_; }
  const MapPages& maps() const { return maps_; }
  const NodeTree& nodeTree() const { return nbt_; }
  const BlockTree& blockTree() const { return bbt_; }
  const BlockStore& blocks() const { return *store_; }
  const NodeEntry* node(std::uint32_t nid) const;
  const std::vector<UnlistedBlock>& unlisted() const { return unlisted_; }

 private:
  void checkNodes(ViolationLog& log) const;

  const FileImage& file_;
  HeaderInfo header_;
  bool readable_ = false;
  MapPages maps_;
  NodeTree nbt_;
  BlockTree bbt_;
  std::unique_ptr<BlockStore> store_;
  std::map<std::uint32_t, std::size_t> nodeIndex_;
  std::vector<UnlistedBlock> unlisted_;
};

}  // namespace vread
