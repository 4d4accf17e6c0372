// Virel::Impl: owns the file store, the registries and the folder model;
// opens the file, takes folders and items, and at close writes every
// structure and the final header.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "core/capacity.h"
#include "core/item_registry.h"
#include "core/virel.h"
#include "messaging/folder_registry.h"
#include "messaging/named_property_map.h"
#include "messaging/records.h"
#include "ndb/block_allocator.h"
#include "ndb/data_writer.h"
#include "ndb/file_store.h"
#include "ndb/map_pages.h"
#include "ndb/node_registry.h"

namespace virel {

// The allocation-map area and the reserved head of the file.
inline constexpr uint64_t kReservedHeadEnd = ndb::kAMapStart + ndb::kMapAreaSize;
inline constexpr uint64_t kMinFileSize = 262144;
inline constexpr char kDefaultMessageFolder[] = "Inbox";
inline constexpr char kDefaultEventFolder[] = "Calendar";
inline constexpr char kCalendarContainerClass[] = "IPF.Appointment";

class Virel::Impl {
 public:
  explicit Impl(const std::string& path);
  // Closes; an exception escaping here terminates the process.
  ~Impl();

  // NID of the folder the path names, created with any missing parents.
  // Throws std::invalid_argument for a path with no folder name in it.
  uint64_t CreateFolder(const std::string& path);
  // NID of the stored item; throws on a closed writer or a failure.
  uint64_t AddMessage(const std::string& folder_path, const MessageRecord& m);
  uint64_t AddEvent(const std::string& folder_path, const EventRecord& e);

  // Whether the file would still close after AddMessage/AddEvent with the
  // same arguments. Writes nothing and changes no state; throws
  // std::logic_error on a closed writer.
  Fit CheckMessage(const std::string& folder_path, const MessageRecord& m) const;
  Fit CheckEvent(const std::string& folder_path, const EventRecord& e) const;
  // What the NBT and BBT will list once the writer as it stands is closed.
  CapacityUse PredictClose() const;

  // The full closing sequence; throws FileIOException("closing", ...).
  void close();
  // Bookkeeping records, then finalisation; throws SerializationException.
  void compact();

  bool finalised() const { return finalised_; }
  const ndb::NodeRegistry& nodes() const { return nodes_; }
  const ndb::BlockAllocator& allocator() const { return *allocator_; }
  const FolderRegistry& folders() const { return folders_; }
  const NamedPropertyMap& names() const { return names_; }

 private:
  void ReserveHead();
  void CreateDefaultFolders();
  void RequireOpen() const;
  void AddContent(uint64_t folder_id, uint64_t nid, uint32_t kind, uint64_t row_bytes);
  ClosePlan PlanClose(const CloseForecast& forecast) const;
  void LinkToFolder(uint64_t nid, uint32_t folder_nid);
  void Finalise();
  ndb::Bref WriteTree(bool nbt);
  void WriteCounters();
  void WriteHeader(const ndb::Bref& nbt, const ndb::Bref& bbt);

  std::string path_;
  ndb::NodeRegistry nodes_;
  FolderRegistry folders_{&nodes_};
  ContentsRegistry contents_;
  ItemRegistry items_;
  NamedPropertyMap names_;
  std::unique_ptr<ndb::FileStore> store_;
  std::unique_ptr<ndb::BlockAllocator> allocator_;
  std::unique_ptr<ndb::DataWriter> data_;
  uint32_t messages_added_ = 0;
  uint32_t events_added_ = 0;
  bool finalised_ = false;
  // What close writes for each folder, kept between capacity checks.
  mutable FolderCostMemo folder_costs_;
  // What each folder's items add up to.
  FolderTallies tallies_;
};

}  // namespace virel
