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

void BthBuilder::Add(uint32_t key, Bytes data) {
  assert(data.size() == entry_size_);
  records_.emplace_back(key, std::move(data));
}

Bytes BthBuilder::EncodeLeaves() const {
  std::vector<const std::pair<uint32_t, Bytes>*> sorted;
  sorted.reserve(records_.size());
  for (const auto& record : records_) sorted.push_back(&record);
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto* a, const auto* b) {
                     return a->first < b->first;
                   });

  Bytes leaves;
  leaves.reserve(records_.size() * (key_size_ + entry_size_));
  for (const auto* record : sorted) {
    if (key_size_ == kShortKeySize) {
      PutFixed16(&leaves, static_cast<uint16_t>(record->first));
    } else {
      PutFixed32(&leaves, record->first);
    }
    PutBytes(&leaves, record->second);
  }
  return leaves;
}

uint32_t BthBuilder::Finish(Heap* heap) {
  BthHeader header{kBthType, key_size_, entry_size_, 0, 0};
  if (!records_.empty()) header.hid_root = heap->Allocate(EncodeLeaves());
  Bytes encoded;
  header.EncodeTo(&encoded);
  return heap->Allocate(encoded);
}

}  // namespace ltp
}  // namespace virel
