#include "ltp/property_context.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "ltp/bth.h"
#include "ltp/ltp_format.h"

namespace virel {
namespace ltp {

namespace {

// Record key is wPropId; the data is wPropType then dwValueHnid.
constexpr uint8_t kPcKeySize = 2;
constexpr uint8_t kPcEntrySize = 6;
constexpr size_t kInlineValueLimit = 4;

// dwValueHnid: short values inline (little-endian, zero-filled above),
// longer ones as the HID of a new heap allocation.
uint32_t ValueHnid(const Bytes& value, Heap* heap) {
  if (value.size() > kInlineValueLimit) return heap->Allocate(value);
  uint8_t inline_value[kInlineValueLimit] = {0, 0, 0, 0};
  std::copy(value.begin(), value.end(), inline_value);
  return DecodeFixed32(inline_value);
}

// The values that go to the heap, the record array and the BTH header.
void ReserveHeap(const PropertyBag& bag, const std::vector<uint32_t>& tags, Heap* heap) {
  size_t bytes = tags.size() * (kPcKeySize + kPcEntrySize) + kBthHeaderSize;
  size_t allocations = 2;
  for (uint32_t tag : tags) {
    const size_t size = bag.Find(tag)->size();
    if (size > kInlineValueLimit) {
      bytes += size;
      ++allocations;
    }
  }
  heap->Reserve(allocations, bytes);
}

}  // namespace

void BuildPropertyContext(const PropertyBag& bag, Heap* heap) {
  heap->Reset();
  heap->set_client_signature(kClientSigPropertyContext);

  const std::vector<uint32_t> tags = bag.SortedTags();
  BthBuilder records(kPcKeySize, kPcEntrySize);
  records.Reserve(tags.size());
  ReserveHeap(bag, tags, heap);
  for (uint32_t tag : tags) {
    uint8_t entry[kPcEntrySize];
    EncodeFixed16(entry, PropType(tag));
    EncodeFixed32(entry + 2, ValueHnid(*bag.Find(tag), heap));
    records.Add(PropId(tag), entry);
  }
  heap->set_user_root(records.Finish(heap));
}

}  // namespace ltp
}  // namespace virel
