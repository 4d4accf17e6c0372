#include "core/writer_impl.h"

#include <exception>
#include <stdexcept>

#include "core/compaction.h"
#include "core/errors.h"
#include "core/stats.h"
#include "ltp/node_data.h"
#include "messaging/folder_writer.h"
#include "messaging/store_writer.h"
#include "ndb/header.h"
#include "ndb/map_pages.h"
#include "ndb/tree_placement.h"

namespace virel {
namespace {
constexpr size_t kCounterRecordSize = 64;
}  // namespace

Virel::Virel(const std::string& path) : impl_(new Impl(path)) {}
Virel::~Virel() = default;

Virel::Impl::Impl(const std::string& path) : path_(path) {
  store_.reset(new ndb::FileStore(path_));
  store_->WriteHeader(ndb::kFinalFormatName);
  allocator_.reset(new ndb::BlockAllocator(store_.get()));
  data_.reset(new ndb::DataWriter(allocator_.get(), store_.get(), &nodes_));
  ReserveHead();
  RegisterFixedNodes(&nodes_);
  folders_.CreateRoot(kRootFolderNid);
  CreateDefaultFolders();
}

Virel::Impl::~Impl() { close(); }

void Virel::Impl::ReserveHead() {
  // Keeps the header and the allocation-map area out of the allocator's way.
  const uint64_t end = store_->end();
  if (end < kReservedHeadEnd) store_->Allocate(kReservedHeadEnd - end);
  store_->FlushZeros();
  allocator_->MarkUsed(0, kReservedHeadEnd);
}

void Virel::Impl::CreateDefaultFolders() {
  for (const DefaultFolder& f : kDefaultFolders) {
    folders_.AddDefaultFolder(f.name, f.nid);
  }
}

void Virel::Impl::RequireOpen() const {
  if (finalised_ || !store_->is_open()) {
    throw std::logic_error("writer is closed");
  }
}

uint64_t Virel::Impl::CreateFolder(const std::string& path) {
  RequireOpen();
  if (FolderRegistry::SplitPath(path).empty()) {
    throw std::invalid_argument("folder path names no folder");
  }
  return folders_.NidOf(folders_.Resolve(path));
}

void Virel::Impl::LinkToFolder(uint64_t nid, uint32_t folder_nid) {
  ndb::Node node = nodes_.FindNode(nid).value();
  node.nid_parent = folder_nid;
  nodes_.PutNode(node);
}

void Virel::Impl::AddContent(uint64_t folder_id, uint64_t nid, uint32_t kind,
                             uint64_t row_bytes) {
  contents_[folder_id].push_back({nid, kind});
  tallies_[folder_id].Add(kind, row_bytes);
}

uint64_t Virel::Impl::AddMessage(const std::string& folder_path,
                                 const MessageRecord& m) {
  RequireOpen();
  try {
    // Serialised before the path is resolved: the message draws its NID
    // ahead of any folder the path creates, and a refused message leaves
    // no folder behind. Its parent is linked once the folder is known.
    ltp::PropertyBag properties;
    const ItemResult r =
        serialize_message(m, 0, data_.get(), &nodes_, &properties);
    const StoredMessage& stored =
        items_.messages[r.nid] = StoreMessage(r, m, &properties);
    const uint64_t folder = folders_.Resolve(folder_path);
    AddContent(folder, r.nid, kContentMessage, RowSize(stored.row));
    LinkToFolder(r.nid, folders_.NidOf(folder));
    ++messages_added_;
    return r.nid;
  } catch (const std::exception& e) {
    throw SerializationException("message", e.what());
  }
}

uint64_t Virel::Impl::AddEvent(const std::string& folder_path,
                               const EventRecord& e) {
  RequireOpen();
  const uint64_t folder = folders_.Resolve(folder_path);
  ltp::PropertyBag properties;
  const EventResult r = serialize_event(e, folders_.NidOf(folder), &names_,
                                        data_.get(), &nodes_, &properties);
  ++events_added_;
  const StoredEvent& stored = items_.events[r.nid] =
      StoreEvent(r, e, &properties, &names_);
  AddContent(folder, r.nid, kContentEvent, RowSize(stored.row));
  folders_.SetContainerClass(folder, kCalendarContainerClass);
  return r.nid;
}

void Virel::Impl::close() {
  if (store_ && !store_->is_open()) return;
  Stats::Instance().StartTimer(stat::kClose);
  if (store_) {
    try {
      if (!finalised_) compact();
      store_->PadTo(kMinFileSize);
      store_->Close();
    } catch (const std::exception& e) {
      throw FileIOException("closing", path_, e.what());
    }
  }
  Stats::Instance().StopTimer(stat::kClose);
}

void Virel::Impl::compact() {
  if (finalised_) return;
  Stats::Instance().StartTimer(stat::kCompact);
  try {
    RecordBlockWriter(folders_, contents_, items_, &names_, data_.get())
        .WriteAll();
    Finalise();
    store_->FlushPending();
    finalised_ = true;
  } catch (const std::exception& e) {
    throw SerializationException("content table", e.what());
  }
  Stats::Instance().StopTimer(stat::kCompact);
}

void Virel::Impl::Finalise() {
  store_->FlushPending();
  const Bytes map_pages =
      ndb::BuildMapPages(allocator_->bitmap(), ndb::kAMapStart);
  if (map_pages.size() > ndb::kMapAreaSize) {
    // They would overwrite the first blocks.
    throw std::length_error("allocation map larger than its reserved area");
  }
  store_->WriteAt(ndb::kAMapStart, map_pages.data(), map_pages.size());
  WriteMessageStore(data_.get(), &nodes_);
  WriteAllFolders(folders_, contents_, data_.get(), &nodes_);
  // Items were written and entered as nodes when they were added.
  WriteNameToIdMap(names_, data_.get(), &nodes_);
  nodes_.DropPages();  // an earlier attempt's pages are left unlisted
  const ndb::Bref nbt = WriteTree(true);
  const ndb::Bref bbt = WriteTree(false);
  WriteCounters();
  WriteHeader(nbt, bbt);
}

ndb::Bref Virel::Impl::WriteTree(bool nbt) {
  ndb::TreeBuild tree = nbt ? nodes_.BuildNbt() : nodes_.BuildBbt();
  return ndb::PlaceTree(&tree, store_.get(), &nodes_);
}

void Virel::Impl::WriteCounters() {
  Bytes record(kCounterRecordSize, 0);
  EncodeFixed32(record.data(), messages_added_);
  EncodeFixed32(record.data() + 4, events_added_);
  data_->WriteData(record, false);
}

void Virel::Impl::WriteHeader(const ndb::Bref& nbt, const ndb::Bref& bbt) {
  ndb::HeaderRoot root;
  root.file_eof = store_->end();
  root.amap_last = ndb::kAMapStart;
  root.nbt = nbt;
  root.bbt = bbt;
  root.amap_valid = true;
  Bytes header = ndb::BuildHeader(ndb::FormatFlag(ndb::kFinalFormatName));
  ndb::FillHeaderRoot(&header, root);
  store_->WriteAt(0, header.data(), header.size());
}

}  // namespace virel
