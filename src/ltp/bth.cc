#include "ltp/bth.h"

#include <algorithm>
#include <cassert>

#include "ltp/heap.h"
#include "ltp/ltp_format.h"

namespace virel {
namespace ltp {

namespace {

constexpr uint8_t kShortKeySize = 2;
constexpr uint8_t kLongKeySize = 4;

}  // namespace

void BthHeader::EncodeTo(uint8_t* dst) const {
  dst[0] = type;
  dst[1] = key_size;
  dst[2] = entry_size;
  dst[3] = index_levels;
  EncodeFixed32(dst + 4, hid_root);
}

BthBuilder::BthBuilder(uint8_t key_size, uint8_t entry_size)
    : key_size_(key_size), entry_size_(entry_size) {
  assert(key_size == kShortKeySize || key_size == kLongKeySize);
}

void BthBuilder::Reserve(size_t records) { leaves_.reserve(records * record_size()); }

uint32_t BthBuilder::KeyAt(size_t i) const {
  const uint8_t* p = leaves_.data() + i * record_size();
  return key_size_ == kShortKeySize ? DecodeFixed16(p) : DecodeFixed32(p);
}

void BthBuilder::Add(uint32_t key, const uint8_t* data) {
  const size_t n = leaves_.size() / record_size();
  if (n > 0 && key < KeyAt(n - 1)) sorted_ = false;
  uint8_t encoded_key[kLongKeySize];
  if (key_size_ == kShortKeySize) {
    EncodeFixed16(encoded_key, static_cast<uint16_t>(key));
  } else {
    EncodeFixed32(encoded_key, key);
  }
  leaves_.insert(leaves_.end(), encoded_key, encoded_key + key_size_);
  leaves_.insert(leaves_.end(), data, data + entry_size_);
}

void BthBuilder::Add(uint32_t key, const Bytes& data) {
  assert(data.size() == entry_size_);
  Add(key, data.data());
}

// Records with equal keys keep the order in which they were added.
void BthBuilder::SortLeaves() {
  const size_t count = leaves_.size() / record_size();
  std::vector<uint32_t> order(count);
  for (uint32_t i = 0; i < count; ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [this](uint32_t a, uint32_t b) { return KeyAt(a) < KeyAt(b); });
  Bytes sorted(leaves_.size());
  for (size_t n = 0; n < count; ++n) {
    std::copy_n(leaves_.data() + order[n] * record_size(), record_size(),
                sorted.data() + n * record_size());
  }
  leaves_.swap(sorted);
  sorted_ = true;
}

uint32_t BthBuilder::Finish(Heap* heap) {
  BthHeader header{kBthType, key_size_, entry_size_, 0, 0};
  if (!leaves_.empty()) {
    if (!sorted_) SortLeaves();
    header.hid_root = heap->Allocate(leaves_);
  }
  uint8_t encoded[kBthHeaderSize];
  header.EncodeTo(encoded);
  return heap->Allocate(encoded, sizeof(encoded));
}

}  // namespace ltp
}  // namespace virel
