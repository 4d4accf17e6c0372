#include "ltp/heap.h"

#include <algorithm>

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

uint32_t HidForIndex(uint32_t index) {
  return (index & kHidIndexMask) << kHidIndexShift;
}

constexpr size_t kSlots = kHidIndexMask + 1;

}  // namespace

void Heap::Reset() {
  next_index_ = 1;
  client_signature_ = 0;
  user_root_ = 0;
  slots_.clear();
  data_.clear();
  count_ = 0;
}

void Heap::Reserve(size_t allocations, size_t bytes) {
  slots_.reserve(std::min(kSlots, (next_index_ & kHidIndexMask) + allocations));
  data_.reserve(data_.size() + bytes);
}

uint32_t Heap::Allocate(const uint8_t* data, size_t size) {
  const uint32_t index = next_index_++;
  const size_t slot = index & kHidIndexMask;
  if (slot >= slots_.size()) {
    slots_.resize(std::min(kSlots, std::max(slot + 1, 2 * slots_.size())));
  }
  Span& span = slots_[slot];
  if (!span.used) ++count_;
  span = {data_.size(), size, true};
  data_.insert(data_.end(), data, data + size);
  return HidForIndex(index);
}

bool Heap::wrapped() const { return next_index_ > kHidIndexMask + 1u; }

Bytes Heap::Serialize() const {
  size_t page_map = kHeapHeaderSize;
  for (const Span& span : slots_) page_map += span.used ? span.size : 0;
  // Built by appending into its final size, so no byte is written twice.
  Bytes out;
  out.reserve(page_map + (count_ + kPageMapFixedEntries) * kPageMapEntrySize);
  out.resize(kHeapHeaderSize, 0);
  EncodeFixed16(&out[kOffsetPageMap], static_cast<uint16_t>(page_map));
  out[kOffsetSignature] = kHeapSignature;
  out[kOffsetClientSignature] = client_signature_;
  EncodeFixed32(&out[kOffsetUserRoot], user_root_);
  for (const Span& span : slots_) {
    if (!span.used) continue;
    const uint8_t* bytes = data_.data() + span.offset;
    out.insert(out.end(), bytes, bytes + span.size);
  }

  // The page map: counts, each allocation's start, then the end.
  PutFixed16(&out, static_cast<uint16_t>(count_));
  PutFixed16(&out, 0);  // cFree
  size_t start = kHeapHeaderSize;
  for (const Span& span : slots_) {
    if (!span.used) continue;
    PutFixed16(&out, static_cast<uint16_t>(start));
    start += span.size;
  }
  PutFixed16(&out, static_cast<uint16_t>(start));
  return out;
}

}  // namespace ltp
}  // namespace virel
