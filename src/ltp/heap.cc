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

Heap::Span& Heap::NextSlot(uint32_t* hid) {
  const uint32_t index = next_index_++;
  const size_t slot = index & kHidIndexMask;
  if (slot >= slots_.size()) {
    slots_.resize(std::min(kSlots, std::max(slot + 1, 2 * slots_.size())));
  }
  Span& span = slots_[slot];
  if (!span.used) ++count_;
  *hid = HidForIndex(index);
  return span;
}

uint32_t Heap::Allocate(const uint8_t* data, size_t size) {
  uint32_t hid = 0;
  NextSlot(&hid) = {data_.size(), size, true, nullptr};
  data_.insert(data_.end(), data, data + size);
  return hid;
}

uint32_t Heap::Refer(const uint8_t* data, size_t size) {
  uint32_t hid = 0;
  NextSlot(&hid) = {0, size, true, data};
  return hid;
}

bool Heap::wrapped() const { return next_index_ > kHidIndexMask + 1u; }

size_t Heap::SerializedSize() const {
  return PageMapOffset() + (count_ + kPageMapFixedEntries) * kPageMapEntrySize;
}

size_t Heap::PageMapOffset() const {
  size_t offset = kHeapHeaderSize;
  for (const Span& span : slots_) offset += span.used ? span.size : 0;
  return offset;
}

Bytes Heap::Serialize() const {
  Bytes out(SerializedSize());
  SerializeTo(out.data());
  return out;
}

void Heap::SerializeTo(uint8_t* out) const {
  const size_t page_map = PageMapOffset();
  std::fill(out, out + kHeapHeaderSize, uint8_t{0});  // rgbFillLevel stays zero
  EncodeFixed16(out + kOffsetPageMap, static_cast<uint16_t>(page_map));
  out[kOffsetSignature] = kHeapSignature;
  out[kOffsetClientSignature] = client_signature_;
  EncodeFixed32(out + kOffsetUserRoot, user_root_);

  // The allocations back to back, and in the page map the counts, each
  // allocation's start and the end of the last.
  uint8_t* map = out + page_map;
  EncodeFixed16(map, static_cast<uint16_t>(count_));
  EncodeFixed16(map + kPageMapEntrySize, 0);  // cFree
  map += 2 * kPageMapEntrySize;
  size_t start = kHeapHeaderSize;
  for (const Span& span : slots_) {
    if (!span.used) continue;
    EncodeFixed16(map, static_cast<uint16_t>(start));
    map += kPageMapEntrySize;
    const uint8_t* bytes = span.external != nullptr ? span.external : data_.data() + span.offset;
    std::copy_n(bytes, span.size, out + start);
    start += span.size;
  }
  EncodeFixed16(map, static_cast<uint16_t>(start));
}

}  // namespace ltp
}  // namespace virel
