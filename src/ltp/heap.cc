#include "ltp/heap.h"

#include <algorithm>
#include <vector>

#include "ltp/ltp_format.h"

namespace virel {
namespace ltp {

namespace {

// HNPAGEMAP: cAlloc, cFree, then cAlloc + 1 offsets.
constexpr size_t kPageMapFixedEntries = 3;
constexpr size_t kPageMapEntrySize = 2;

// Field offsets within the HNHDR.
constexpr size_t kOffsetPageMap = 0;
constexpr size_t kOffsetSignature = 2;
constexpr size_t kOffsetClientSignature = 3;
constexpr size_t kOffsetUserRoot = 4;
// rgbFillLevel (offset 8) stays zero.

uint32_t HidForIndex(uint16_t index) {
  return (static_cast<uint32_t>(index) & kHidIndexMask) << kHidIndexShift;
}

}  // namespace

void Heap::Reset() {
  next_index_ = 1;
  client_signature_ = 0;
  user_root_ = 0;
  allocations_.clear();
}

uint32_t Heap::Allocate(const Bytes& data) {
  const uint32_t hid = HidForIndex(next_index_++);
  allocations_[hid] = data;
  return hid;
}

bool Heap::wrapped() const { return next_index_ > kHidIndexMask + 1u; }

Bytes Heap::Serialize() const {
  // Start offset of every allocation plus the end of the last one.
  std::vector<size_t> offsets;
  offsets.reserve(allocations_.size() + 1);
  size_t end = kHeapHeaderSize;
  offsets.push_back(end);
  for (const auto& allocation : allocations_) {
    end += allocation.second.size();
    offsets.push_back(end);
  }
  const size_t page_map = end;
  const size_t count = allocations_.size();

  Bytes out(page_map + (count + kPageMapFixedEntries) * kPageMapEntrySize, 0);
  EncodeFixed16(&out[kOffsetPageMap], static_cast<uint16_t>(page_map));
  out[kOffsetSignature] = kHeapSignature;
  out[kOffsetClientSignature] = client_signature_;
  EncodeFixed32(&out[kOffsetUserRoot], user_root_);

  size_t i = 0;
  for (const auto& allocation : allocations_) {
    std::copy(allocation.second.begin(), allocation.second.end(),
              out.begin() + static_cast<std::ptrdiff_t>(offsets[i++]));
  }

  uint8_t* map = &out[page_map];
  EncodeFixed16(map, static_cast<uint16_t>(count));
  EncodeFixed16(map + kPageMapEntrySize, 0);  // cFree
  map += 2 * kPageMapEntrySize;
  for (size_t offset : offsets) {
    EncodeFixed16(map, static_cast<uint16_t>(offset));
    map += kPageMapEntrySize;
  }
  return out;
}

}  // namespace ltp
}  // namespace virel
