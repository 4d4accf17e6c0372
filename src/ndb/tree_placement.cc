#include "ndb/tree_placement.h"

#include <vector>

#include "ndb/block.h"
#include "ndb/btree_page.h"
#include "ndb/page_trailer.h"

namespace virel {
namespace ndb {
namespace {
constexpr size_t kBTEntryIbOffset = 16;
}  // namespace

Bref PlaceTree(TreeBuild* tree, FileStore* store, NodeRegistry* registry) {
  std::vector<uint64_t> placed;
  for (size_t i = 0; i < tree->pages.size(); ++i) {
    Bytes& page = tree->pages[i];
    const uint64_t bid = tree->bids[i];
    if (tree->pages.size() > 1 && i == tree->root) {
      for (size_t k = 0; k < placed.size(); ++k) {
        EncodeFixed64(&page[kBTEntrySize * k + kBTEntryIbOffset], placed[k]);
      }
      UpdatePageCrc(page.data());
    }
    const uint64_t ib = store->Allocate(kPageSize);
    EncodeFixed16(&page[page_offset::kSig], BlockSignature(ib, bid));
    store->WriteAt(ib, page.data(), page.size());
    placed.push_back(ib);
    registry->RegisterPage(bid, ib);
  }
  return {tree->bids[tree->root], placed[tree->root]};
}

}  // namespace ndb
}  // namespace virel
