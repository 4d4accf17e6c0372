#include "ltp/bth.h"

#include <algorithm>
#include <cassert>

#include "ltp/heap.h"
#include "ltp/ltp_format.h"

namespace virel {
namespace ltp {

namespace {

constexpr uint8_t kShortKeySize = 2;
[[maybe_unused]] constexpr uint8_t kLongKeySize = 4;

}  // namespace

void BthHeader::EncodeTo(Bytes* dst) const {
  PutFixed8(dst, type);
  PutFixed8(dst, key_size);
  PutFixed8(dst, entry_size);
  PutFixed8(dst, index_levels);
  PutFixed32(dst, hid_root);
}

BthBuilder::BthBuilder(uint8_t key_size, uint8_t entry_size)
    : key_size_(key_size), entry_size_(entry_size) {
  assert(key_size == kShortKeySize || key_size == kLongKeySize);
}

void BthBuilder::Reserve(size_t records) {
  keys_.reserve(records);
  data_.reserve(records * entry_size_);
}

void BthBuilder::Add(uint32_t key, const uint8_t* data) {
  keys_.push_back(key);
  data_.insert(data_.end(), data, data + entry_size_);
}

void BthBuilder::Add(uint32_t key, const Bytes& data) {
  assert(data.size() == entry_size_);
  Add(key, data.data());
}

Bytes BthBuilder::EncodeLeaves() const {
  // Records usually arrive sorted (property contexts, row indexes).
  std::vector<uint32_t> order;
  const bool sorted = std::is_sorted(keys_.begin(), keys_.end());
  if (!sorted) {
    order.resize(keys_.size());
    for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [this](uint32_t a, uint32_t b) { return keys_[a] < keys_[b]; });
  }

  const size_t record_size = size_t{key_size_} + entry_size_;
  Bytes leaves(keys_.size() * record_size);
  uint8_t* out = leaves.data();
  for (size_t n = 0; n < keys_.size(); ++n) {
    const size_t i = sorted ? n : order[n];
    if (key_size_ == kShortKeySize) {
      EncodeFixed16(out, static_cast<uint16_t>(keys_[i]));
    } else {
      EncodeFixed32(out, keys_[i]);
    }
    std::copy_n(&data_[i * entry_size_], entry_size_, out + key_size_);
    out += record_size;
  }
  return leaves;
}

uint32_t BthBuilder::Finish(Heap* heap) {
  BthHeader header{kBthType, key_size_, entry_size_, 0, 0};
  if (!keys_.empty()) header.hid_root = heap->Allocate(EncodeLeaves());
  Bytes encoded;
  encoded.reserve(kBthHeaderSize);
  header.EncodeTo(&encoded);
  return heap->Allocate(encoded);
}

}  // namespace ltp
}  // namespace virel
