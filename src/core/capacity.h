// Whether a writer's file still closes once one more item is added, and
// what its node and block B-trees will list after close. Worked out on
// copies of the writer's state: a check writes nothing and draws no NID or
// BID.
#pragma once

#include <cstddef>

#include "ndb/node_registry.h"

namespace virel {

enum class Fit {
  kFits,         // adding the item leaves a file that still closes
  kFileFull,     // the item is fine but this file could not close with it
  kItemRefused,  // the writer refuses the item whatever the file: its texts
                 // pass one heap page, its recipient or attachment table
                 // passes a page, or it has too many attachments
};

// What the closed file's NBT and BBT will list.
struct CapacityUse {
  size_t nodes = 0;
  size_t blocks = 0;
};

// The most entries a two-level B-tree holds.
inline constexpr size_t kMaxNbtEntries = ndb::kNbtLeafCapacity * ndb::kRootCapacity;
inline constexpr size_t kMaxBbtEntries = ndb::kBbtLeafCapacity * ndb::kRootCapacity;

// Pages of a B-tree over `entries` leaf entries: one leaf, or leaves under
// a root.
size_t TreePageCount(size_t entries, size_t leaf_capacity);

}  // namespace virel
