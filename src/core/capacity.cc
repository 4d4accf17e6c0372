#include "core/capacity.h"

#include <stdexcept>

#include "core/stats.h"
#include "core/writer_impl.h"
#include "ltp/node_data.h"
#include "messaging/event_serializer.h"
#include "messaging/folder_writer.h"
#include "messaging/message_serializer.h"
#include "messaging/store_writer.h"
#include "ndb/data_writer.h"

namespace virel {

size_t TreePageCount(size_t entries, size_t leaf_capacity) {
  if (entries <= leaf_capacity) return 1;
  return (entries + leaf_capacity - 1) / leaf_capacity + 1;
}

CloseForecast::CloseForecast(const FolderRegistry& folders,
                             const ContentsRegistry& contents,
                             const NamedPropertyMap& names)
    : folders_(folders, &folder_nodes_), contents_(contents), names_(names),
      base_folders_(folders.size()) {}

uint64_t CloseForecast::Resolve(const std::string& path) {
  return folders_.Resolve(path);
}

void CloseForecast::File(uint64_t folder, uint32_t kind, size_t blocks) {
  // The row's NID does not change the size of anything close writes.
  contents_[folder].push_back({0, kind});
  ++items_;
  item_blocks_ += blocks;
}

size_t CloseForecast::RecordBlockCount() const {
  // A record per folder; per folder with contents a content list and a row
  // group; one index over the lists. Each is one block whatever its size.
  const size_t lists = contents_.size();
  return folders_.size() + 2 * lists + (lists != 0 ? 1 : 0);
}

ClosePlan CloseForecast::Run(const CapacityUse& now,
                             bool name_map_pending) const {
  ClosePlan plan;
  plan.use.nodes = now.nodes + items_ + (folders_.size() - base_folders_) +
                   (name_map_pending ? 1 : 0);
  // The nodes close writes, counted by a writer that writes nothing. A
  // folder table or property context past one heap page makes close fail.
  ndb::NodeRegistry written;
  ndb::DataWriter counter(&written);
  try {
    WriteMessageStore(&counter, &written);
    WriteAllFolders(folders_, contents_, &counter, &written);
    WriteNameToIdMap(names_, &counter, &written);
  } catch (const std::length_error&) {
    plan.closes = false;
  }
  // The BBT lists the NBT's pages, but not its own or the counters record
  // written after it.
  plan.use.blocks = now.blocks + item_blocks_ + RecordBlockCount() +
                    written.block_count() +
                    TreePageCount(plan.use.nodes, ndb::kNbtLeafCapacity);
  if (plan.use.nodes > kMaxNbtEntries || plan.use.blocks > kMaxBbtEntries) {
    plan.closes = false;
  }
  return plan;
}

ClosePlan Virel::Impl::PlanClose(const CloseForecast& forecast) const {
  const CapacityUse now{nodes_.node_count(), nodes_.block_count()};
  return forecast.Run(now, !nodes_.FindNode(kNameToIdMapNid).has_value());
}

CapacityUse Virel::Impl::PredictClose() const {
  return PlanClose(CloseForecast(folders_, contents_, names_)).use;
}

Fit Virel::Impl::CheckMessage(const std::string& folder_path,
                              const MessageRecord& m) const {
  RequireOpen();
  size_t blocks = 0;
  {
    // Serialised as AddMessage does it, into a registry of its own.
    StatsPause pause;
    ndb::NodeRegistry item;
    ndb::DataWriter counter(&item);
    try {
      serialize_message(m, 0, &counter, &item);
    } catch (const std::exception&) {
      return Fit::kItemRefused;
    }
    blocks = item.block_count();
  }
  CloseForecast forecast(folders_, contents_, names_);
  forecast.File(forecast.Resolve(folder_path), kContentMessage, blocks);
  return PlanClose(forecast).closes ? Fit::kFits : Fit::kFileFull;
}

Fit Virel::Impl::CheckEvent(const std::string& folder_path,
                            const EventRecord& e) const {
  RequireOpen();
  CloseForecast forecast(folders_, contents_, names_);
  const uint64_t folder = forecast.Resolve(folder_path);
  // As AddEvent does it: the folder first, then the event's one context.
  ndb::NodeRegistry item;
  ndb::DataWriter counter(&item);
  try {
    ltp::WritePropertyContext(EventProperties(e, forecast.names()), &counter);
  } catch (const std::length_error&) {
    return Fit::kItemRefused;
  }
  forecast.File(folder, kContentEvent, item.block_count());
  forecast.folders()->SetContainerClass(folder, kCalendarContainerClass);
  return PlanClose(forecast).closes ? Fit::kFits : Fit::kFileFull;
}

}  // namespace virel
