// Whether a writer's file still closes once one more item is added, and
// what its node and block B-trees will list after close. Worked out on
// copies of the writer's state: a check writes nothing and draws no NID or
// BID.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "messaging/folder_registry.h"
#include "messaging/folder_writer.h"
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

// The blocks close writes for one folder, with what decides them. Its
// name and children only ever grow, so with the children's count, the
// container class and the contents table's rows and the total length of
// their message classes identify the folder's state: the table's size does
// not depend on the order of its rows.
struct FolderCost {
  size_t children = 0;
  size_t contents = 0;
  size_t class_units = 0;  // UTF-16 units of the rows' message classes
  std::string container_class;
  std::optional<size_t> blocks;  // none when a table passes one heap page
  ContentsTableSize table;       // as written for this state
};
// By folder ID: the last state worked out exactly for each folder.
using FolderCostMemo = std::unordered_map<uint64_t, FolderCost>;

// What one more row adds to a contents table's heap at most, besides its
// message class: its cell, its row-index record, their page-map entries,
// and the row index growing a level. Within these bounds a grown table is
// known to take the blocks it took before without being built again.
inline constexpr size_t kMaxContentsRowBytes = 64;
inline constexpr size_t kMaxContentsRowAllocations = 2;
// UTF-16 units of the message class a row of `kind` lists.
size_t ClassUnits(uint32_t kind);

// What a folder's items add up to, kept as they are filed.
struct FolderTally {
  uint64_t row_bytes = 0;   // of its rows in the bookkeeping row blocks
  size_t class_units = 0;   // of its contents rows' message classes
  void Add(uint32_t kind, uint64_t item_row_bytes) {
    row_bytes += item_row_bytes;
    class_units += ClassUnits(kind);
  }
};
// By folder ID.
using FolderTallies = std::map<uint64_t, FolderTally>;

struct ClosePlan {
  CapacityUse use;  // a lower bound when a folder's tables would not fit
  bool closes = true;
};

// The state close reads, copied so that planned items can be filed into
// it, and a dry run of close over the copy.
class CloseForecast {
 public:
  CloseForecast(const FolderRegistry& folders, const ContentsRegistry& contents,
                const FolderTallies& tallies, const NamedPropertyMap& names);
  CloseForecast(const CloseForecast&) = delete;
  CloseForecast& operator=(const CloseForecast&) = delete;

  // The folder an item filed under `path` lands in; creates missing folders
  // as adding the item would.
  uint64_t Resolve(const std::string& path);
  // Files an item whose serialisation wrote `blocks` blocks taking `bytes`
  // bytes, and whose row takes `row_bytes`.
  void File(uint64_t folder, uint32_t kind, size_t blocks, uint64_t bytes,
            uint64_t row_bytes);
  void SetContainerClass(uint64_t folder, const std::string& container_class);
  NamedPropertyMap* names() { return &names_; }

  // `now` is what the writer's registry holds and `file_end` where its
  // file ends; `name_map_pending` whether close still has to add the
  // name-to-ID node. Folders whose state is in `memo` are not written again.
  ClosePlan Run(const CapacityUse& now, uint64_t file_end,
                bool name_map_pending, FolderCostMemo* memo) const;

 private:
  size_t RecordBlockCount() const;
  // File bytes of the bookkeeping blocks, written before the map pages.
  uint64_t RecordBlockBytes(const std::vector<uint64_t>& folders) const;
  // Blocks of one folder; none when it cannot be written.
  std::optional<size_t> FolderBlocks(uint64_t id, FolderCostMemo* memo) const;

  ndb::NodeRegistry folder_nodes_;  // NIDs of planned folders
  FolderRegistry folders_;
  ContentsRegistry contents_;
  FolderTallies tallies_;
  NamedPropertyMap names_;
  size_t base_folders_;
  uint64_t first_planned_id_;
  std::unordered_set<uint64_t> new_children_;  // folders given planned ones
  size_t items_ = 0;
  size_t item_blocks_ = 0;
  uint64_t item_bytes_ = 0;
};

}  // namespace virel
