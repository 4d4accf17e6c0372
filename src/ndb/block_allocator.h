// Hands out file space for blocks at the end of the file, remembers each
// allocation under a handle, can hand a freed one out again, and keeps the
// unit bitmap the allocation-map pages are built from.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

#include "ndb/file_store.h"
#include "ndb/unit_bitmap.h"

namespace virel {
namespace ndb {

inline constexpr uint64_t kBlockAlignment = 8;

class BlockAllocator {
 public:
  explicit BlockAllocator(FileStore* store) : store_(store) {}
  BlockAllocator(const BlockAllocator&) = delete;
  BlockAllocator& operator=(const BlockAllocator&) = delete;

  // Returns the handle of at least `size` bytes aligned to `alignment`.
  uint64_t Allocate(uint64_t size, uint64_t alignment);
  // File offset of an allocation; 0 for an unknown handle.
  uint64_t OffsetOf(uint64_t handle) const;
  // Marks an allocation reusable by a later Allocate.
  void Release(uint64_t handle);
  void MarkUsed(uint64_t offset, uint64_t size);

  const UnitBitmap& bitmap() const { return bitmap_; }

 private:
  struct Allocation {
    uint64_t handle;
    uint64_t offset;
    uint64_t size;
    bool free;
  };

  bool TryReuse(uint64_t size, uint64_t alignment, uint64_t* handle);

  FileStore* store_;
  std::vector<Allocation> allocations_;
  std::unordered_map<uint64_t, size_t> index_;
  std::set<size_t> free_;  // positions of the records marked free
  uint64_t next_handle_ = 1;
  UnitBitmap bitmap_;
  mutable std::mutex mu_;
};

}  // namespace ndb
}  // namespace virel
