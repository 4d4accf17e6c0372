// Where blocks and pages lie: overlaps, the reserved head, ibFileEof, gaps.
#pragma once

#include <vector>

#include "block_store.h"
#include "btree.h"
#include "database.h"
#include "map_pages.h"

namespace vread {

struct PlacementInput {
  const FileImage& file;
  const HeaderInfo& header;
  const MapPages& maps;
  const NodeTree& nbt;
  const BlockTree& bbt;
  const BlockStore& store;
};

// Checks every BBT entry and page against the others and against the file
// bounds, verifies each listed block, and returns the blocks found in the
// gaps between them.
std::vector<UnlistedBlock> checkPlacement(const PlacementInput& in, ViolationLog& log);

}  // namespace vread
