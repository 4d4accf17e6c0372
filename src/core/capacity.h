// Whether a writer's file still closes once one more item is added, and
// what its node and block B-trees will list after close. Worked out on
// copies of the writer's state: a check writes nothing and draws no NID or
// BID.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "messaging/folder_registry.h"
#include "messaging/named_property_map.h"
#include "messaging/records.h"
#include "ndb/node_registry.h"

namespace virel {

enum class Fit {
  kFits,         // adding the item leaves a file that still closes
  kFileFull,     // the item is fine but this file could not close with it;
                 // said of a new writer, no file can hold the item
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

// The blocks close writes for one folder, with what decides them: its
// name, kind, children and contents only ever grow, so their counts and
// the container class identify the folder's state.
struct FolderCost {
  size_t children = 0;
  size_t contents = 0;
  std::string container_class;
  std::optional<size_t> blocks;  // none when a table passes one heap page
};
// By folder ID; only states the writer's folders have been in.
using FolderCostMemo = std::unordered_map<uint64_t, FolderCost>;

struct ClosePlan {
  CapacityUse use;  // a lower bound when a folder's tables would not fit
  bool closes = true;
};

// The state close reads, copied so that planned items can be filed into
// it, and a dry run of close over the copy.
class CloseForecast {
 public:
  CloseForecast(const FolderRegistry& folders, const ContentsRegistry& contents,
                const NamedPropertyMap& names);
  CloseForecast(const CloseForecast&) = delete;
  CloseForecast& operator=(const CloseForecast&) = delete;

  // The folder an item filed under `path` lands in; creates missing folders
  // as adding the item would.
  uint64_t Resolve(const std::string& path);
  // Files an item whose serialisation wrote `blocks` blocks.
  void File(uint64_t folder, uint32_t kind, size_t blocks);
  void SetContainerClass(uint64_t folder, const std::string& container_class);
  NamedPropertyMap* names() { return &names_; }

  // `now` is what the writer's registry holds; `name_map_pending` whether
  // close still has to add the name-to-ID node. Folders whose state is in
  // `memo` are not written again.
  ClosePlan Run(const CapacityUse& now, bool name_map_pending,
                FolderCostMemo* memo) const;

 private:
  size_t RecordBlockCount() const;
  // Blocks of one folder; none when it cannot be written.
  std::optional<size_t> FolderBlocks(uint64_t id, FolderCostMemo* memo) const;

  ndb::NodeRegistry folder_nodes_;  // NIDs of planned folders
  FolderRegistry folders_;
  ContentsRegistry contents_;
  NamedPropertyMap names_;
  size_t base_folders_;
  uint64_t first_planned_id_;
  std::unordered_set<uint64_t> changed_;  // held folders planned items change
  size_t items_ = 0;
  size_t item_blocks_ = 0;
};

}  // namespace virel
