#include "core/writer_impl.h"

#include <exception>

#include "core/errors.h"
#include "core/stats.h"
#include "ndb/header.h"
#include "ndb/map_pages.h"
#include "ndb/tree_placement.h"

namespace virel {

Virel::Virel(const std::string& path) : impl_(new Impl(path)) {}
Virel::~Virel() = default;

Virel::Impl::Impl(const std::string& path) : path_(path) {
  store_.reset(new ndb::FileStore(path_));
  store_->WriteHeader(ndb::kFinalFormatName);
  allocator_.reset(new ndb::BlockAllocator(store_.get()));
  data_.reset(new ndb::DataWriter(allocator_.get(), store_.get(), &nodes_));
  ReserveHead();
}

Virel::Impl::~Impl() { close(); }

void Virel::Impl::ReserveHead() {
  // Keeps the header and the allocation-map area out of the allocator's way.
  const uint64_t end = store_->end();
  if (end < kReservedHeadEnd) store_->Allocate(kReservedHeadEnd - end);
  allocator_->MarkUsed(0, kReservedHeadEnd);
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
  store_->WriteAt(ndb::kAMapStart, map_pages.data(), map_pages.size());
  const ndb::Bref nbt = WriteTree(true);
  const ndb::Bref bbt = WriteTree(false);
  WriteHeader(nbt, bbt);
}

ndb::Bref Virel::Impl::WriteTree(bool nbt) {
  ndb::TreeBuild tree = nbt ? nodes_.BuildNbt() : nodes_.BuildBbt();
  return ndb::PlaceTree(&tree, store_.get(), &nodes_);
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
