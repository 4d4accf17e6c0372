// Puts a built B-tree into the file at close: leaves first, then the root
// with the leaves' offsets filled in.
#pragma once

#include "ndb/file_store.h"
#include "ndb/header.h"
#include "ndb/node_registry.h"

namespace virel {
namespace ndb {

// Appends every page at the end of the file, lists each as a block, and
// returns the root page's reference for the header.
Bref PlaceTree(TreeBuild* tree, FileStore* store, NodeRegistry* registry);

}  // namespace ndb
}  // namespace virel
