#include "core/capacity.h"

#include <cstring>
#include <stdexcept>

#include "core/compaction.h"
#include "core/stats.h"
#include "core/writer_impl.h"
#include "ltp/ltp_format.h"
#include "ltp/node_data.h"
#include "messaging/event_serializer.h"
#include "messaging/folder_writer.h"
#include "messaging/message_serializer.h"
#include "messaging/store_writer.h"
#include "ndb/block.h"
#include "ndb/data_writer.h"
#include "ndb/map_pages.h"
#include "ndb/record_blocks.h"

namespace virel {

size_t TreePageCount(size_t entries, size_t leaf_capacity) {
  if (entries <= leaf_capacity) return 1;
  return (entries + leaf_capacity - 1) / leaf_capacity + 1;
}

CloseForecast::CloseForecast(const FolderRegistry& folders,
                             const ContentsRegistry& contents,
                             const FolderTallies& tallies,
                             const NamedPropertyMap& names)
    : folders_(folders, &folder_nodes_), contents_(contents),
      tallies_(tallies), names_(names),
      base_folders_(folders.size()), first_planned_id_(folders.next_id()) {}

uint64_t CloseForecast::Resolve(const std::string& path) {
  const uint64_t first_new = folders_.next_id();
  const uint64_t folder = folders_.Resolve(path);
  for (uint64_t id = first_new; id < folders_.next_id(); ++id) {
    new_children_.insert(folders_.Get(id)->parent_id);
  }
  return folder;
}

void CloseForecast::SetContainerClass(uint64_t folder,
                                      const std::string& container_class) {
  folders_.SetContainerClass(folder, container_class);
}

void CloseForecast::File(uint64_t folder, uint32_t kind, size_t blocks,
                         uint64_t bytes, uint64_t row_bytes) {
  // The row's NID does not change the size of anything close writes.
  contents_[folder].push_back({0, kind});
  tallies_[folder].Add(kind, row_bytes);
  ++items_;
  item_blocks_ += blocks;
  item_bytes_ += bytes;
}

size_t CloseForecast::RecordBlockCount() const {
  // A record per folder; per folder with contents a content list and a row
  // group; one index over the lists. Each is one block whatever its size.
  const size_t lists = contents_.size();
  return folders_.size() + 2 * lists + (lists != 0 ? 1 : 0);
}

uint64_t CloseForecast::RecordBlockBytes(
    const std::vector<uint64_t>& folders) const {
  uint64_t bytes = 0;
  for (uint64_t id : folders) {
    const Folder* f = folders_.Get(id);
    bytes += ndb::BlockSize(ndb::FolderRecordSize(f->name.size(), f->children.size()));
  }
  for (const auto& entry : contents_) {
    const auto tally = tallies_.find(entry.first);
    bytes += ndb::BlockSize(ndb::ContentListSize(entry.second.size())) +
             ndb::BlockSize(ndb::kRowBlockHeaderSize +
                            (tally == tallies_.end() ? 0 : tally->second.row_bytes));
  }
  if (!contents_.empty()) {
    bytes += ndb::BlockSize(ndb::ContentTableIndexSize(contents_.size()));
  }
  return bytes;
}

size_t ClassUnits(uint32_t kind) { return std::strlen(MessageClassOf(kind)); }

namespace {

constexpr size_t kUtf16UnitBytes = 2;

// Whether `later`, the same folder with rows added, is sure to take the
// blocks `known` took: its contents table stays within as many blocks and
// within one heap page.
bool SameBlocksWhenGrown(const FolderCost& known, const FolderCost& later) {
  if (!known.blocks || known.contents == 0 || later.contents < known.contents ||
      later.class_units < known.class_units || later.children != known.children ||
      later.container_class != known.container_class) {
    return false;
  }
  const size_t rows = later.contents - known.contents;
  const size_t most_bytes = known.table.heap_bytes + rows * kMaxContentsRowBytes +
                            (later.class_units - known.class_units) * kUtf16UnitBytes;
  const auto chunks = [](size_t bytes) {
    return (bytes + ndb::kMaxBlockPayload - 1) / ndb::kMaxBlockPayload;
  };
  return most_bytes <= ltp::kMaxHeapSize &&
         chunks(most_bytes) == chunks(known.table.heap_bytes) &&
         known.table.allocations + rows * kMaxContentsRowAllocations <= ltp::kHidIndexMask;
}

}  // namespace

std::optional<size_t> CloseForecast::FolderBlocks(uint64_t id,
                                                  FolderCostMemo* memo) const {
  const auto contents = contents_.find(id);
  const auto tally = tallies_.find(id);
  FolderCost cost{folders_.Get(id)->children.size(),
                  contents == contents_.end() ? 0 : contents->second.size(),
                  tally == tallies_.end() ? 0 : tally->second.class_units,
                  folders_.ContainerClass(id, ""), std::nullopt, {}};
  // A planned folder, or one given planned children, has names that may
  // never be written: its state must not stand for a later one.
  const bool lasting = id < first_planned_id_ && new_children_.count(id) == 0;
  const auto known = memo->find(id);
  if (lasting && known != memo->end()) {
    const FolderCost& k = known->second;
    if (k.children == cost.children && k.contents == cost.contents &&
        k.class_units == cost.class_units && k.container_class == cost.container_class) {
      return k.blocks;
    }
    if (SameBlocksWhenGrown(k, cost)) return k.blocks;
  }
  ndb::NodeRegistry written;
  ndb::DataWriter counter(&written);
  try {
    WriteFolder(folders_, contents_, id, &counter, &written, &cost.table);
    cost.blocks = written.block_count();
  } catch (const std::length_error&) {
  }
  if (lasting) (*memo)[id] = cost;
  return cost.blocks;
}

ClosePlan CloseForecast::Run(const CapacityUse& now, uint64_t file_end,
                             bool name_map_pending, FolderCostMemo* memo) const {
  ClosePlan plan;
  plan.use.nodes = now.nodes + items_ + (folders_.size() - base_folders_) +
                   (name_map_pending ? 1 : 0);
  // The nodes close writes, counted by a writer that writes nothing. A
  // folder table or property context past one heap page makes close fail.
  ndb::NodeRegistry written;
  ndb::DataWriter counter(&written);
  try {
    WriteMessageStore(&counter, &written);
    WriteNameToIdMap(names_, &counter, &written);
  } catch (const std::length_error&) {
    plan.closes = false;
  }
  // The map pages describe the file as the bookkeeping blocks leave it and
  // must not pass the room kept for them.
  const std::vector<uint64_t> order = FolderWriteOrder(folders_);
  const uint64_t end_at_map = file_end + item_bytes_ + RecordBlockBytes(order);
  if (ndb::MapPagesSize(end_at_map) > ndb::kMapAreaSize) plan.closes = false;
  size_t folder_blocks = 0;
  for (uint64_t id : order) {
    const std::optional<size_t> blocks = FolderBlocks(id, memo);
    if (!blocks) plan.closes = false;
    folder_blocks += blocks.value_or(0);
  }
  // The BBT lists the NBT's pages, but not its own or the counters record
  // written after it.
  plan.use.blocks = now.blocks + item_blocks_ + RecordBlockCount() +
                    written.block_count() + folder_blocks +
                    TreePageCount(plan.use.nodes, ndb::kNbtLeafCapacity);
  if (plan.use.nodes > kMaxNbtEntries || plan.use.blocks > kMaxBbtEntries) {
    plan.closes = false;
  }
  return plan;
}

ClosePlan Virel::Impl::PlanClose(const CloseForecast& forecast) const {
  const CapacityUse now{nodes_.node_count(), nodes_.block_count()};
  return forecast.Run(now, store_->end(),
                      !nodes_.FindNode(kNameToIdMapNid).has_value(),
                      &folder_costs_);
}

CapacityUse Virel::Impl::PredictClose() const {
  return PlanClose(CloseForecast(folders_, contents_, tallies_, names_)).use;
}

Fit Virel::Impl::CheckMessage(const std::string& folder_path,
                              const MessageRecord& m) const {
  RequireOpen();
  // Serialised as AddMessage does it, into a registry of its own.
  ndb::NodeRegistry item;
  ndb::DataWriter counter(&item);
  try {
    StatsPause pause;
    serialize_message(m, 0, &counter, &item);
  } catch (const std::exception&) {
    return Fit::kItemRefused;
  }
  CloseForecast forecast(folders_, contents_, tallies_, names_);
  forecast.File(forecast.Resolve(folder_path), kContentMessage,
                item.block_count(), counter.written_bytes(),
                RowSize(MessageRowCells(m, nullptr)));
  return PlanClose(forecast).closes ? Fit::kFits : Fit::kFileFull;
}

Fit Virel::Impl::CheckEvent(const std::string& folder_path,
                            const EventRecord& e) const {
  RequireOpen();
  CloseForecast forecast(folders_, contents_, tallies_, names_);
  const uint64_t folder = forecast.Resolve(folder_path);
  // As AddEvent does it: the folder first, then the event's one context.
  ndb::NodeRegistry item;
  ndb::DataWriter counter(&item);
  try {
    ltp::WritePropertyContext(EventProperties(e, forecast.names()), &counter);
  } catch (const std::length_error&) {
    return Fit::kItemRefused;
  }
  forecast.File(folder, kContentEvent, item.block_count(),
                counter.written_bytes(),
                RowSize(EventRowCells(e, nullptr, forecast.names())));
  forecast.SetContainerClass(folder, kCalendarContainerClass);
  return PlanClose(forecast).closes ? Fit::kFits : Fit::kFileFull;
}

}  // namespace virel
