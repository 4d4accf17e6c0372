#include "ndb/block_allocator.h"

#include <iterator>
#include <stdexcept>

#include "core/stats.h"

namespace virel {
namespace ndb {
namespace {
constexpr size_t kInitialCapacity = 1024;
}  // namespace

uint64_t BlockAllocator::Allocate(uint64_t size, uint64_t alignment) {
  std::lock_guard<std::mutex> lock(mu_);
  Stats& stats = Stats::Instance();
  stats.StartTimer(stat::kBlockAllocate);
  // The timer stays running on this failure; harmless by design.
  if (size == 0) throw std::invalid_argument("allocate: size must be > 0");
  if (alignment == 0) alignment = 1;

  uint64_t handle = 0;
  if (TryReuse(size, alignment, &handle)) {
    stats.Record(stat::kBlockReuse, 1.0);
    stats.StopTimer(stat::kBlockAllocate);
    return handle;
  }

  const uint64_t end = store_->end();
  const uint64_t padding = (alignment - end % alignment) % alignment;
  if (padding != 0) {
    store_->Allocate(padding);
    bitmap_.Mark(end, padding);
  }
  const uint64_t offset = store_->Allocate(size);
  bitmap_.Mark(offset, size);

  if (allocations_.size() == allocations_.capacity()) {
    allocations_.reserve(allocations_.empty() ? kInitialCapacity
                                              : 2 * allocations_.capacity());
  }
  handle = next_handle_;
  allocations_.push_back({handle, offset, size, false});
  index_[handle] = allocations_.size() - 1;
  stats.Record(stat::kBlockAllocate, static_cast<double>(size));
  stats.Record(stat::kBlockNewAllocation, 1.0);
  ++next_handle_;
  stats.StopTimer(stat::kBlockAllocate);
  return handle;
}

bool BlockAllocator::TryReuse(uint64_t size, uint64_t alignment,
                              uint64_t* handle) {
  // The latest free record that fits, as a walk from the back would find.
  for (auto it = free_.rbegin(); it != free_.rend(); ++it) {
    Allocation& a = allocations_[*it];
    if (a.size >= size && a.offset % alignment == 0) {
      a.free = false;
      index_[a.handle] = *it;
      *handle = a.handle;
      free_.erase(std::next(it).base());
      return true;
    }
  }
  return false;
}

uint64_t BlockAllocator::OffsetOf(uint64_t handle) const {
  std::lock_guard<std::mutex> lock(mu_);
  auto it = index_.find(handle);
  return it == index_.end() ? 0 : allocations_[it->second].offset;
}

void BlockAllocator::Release(uint64_t handle) {
  std::lock_guard<std::mutex> lock(mu_);
  auto it = index_.find(handle);
  if (it == index_.end()) return;
  allocations_[it->second].free = true;
  free_.insert(it->second);
  index_.erase(it);
}

void BlockAllocator::MarkUsed(uint64_t offset, uint64_t size) {
  std::lock_guard<std::mutex> lock(mu_);
  bitmap_.Mark(offset, size);
}

}  // namespace ndb
}  // namespace virel
