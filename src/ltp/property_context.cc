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
// The heap refers to the bag's bytes rather than copying them.
uint32_t ValueHnid(const PropertyValue& value, Heap* heap) {
  if (value.size() > kInlineValueLimit) return heap->Refer(value.data(), value.size());
  uint8_t inline_value[kInlineValueLimit] = {0, 0, 0, 0};
  std::copy_n(value.data(), value.size(), inline_value);
  return DecodeFixed32(inline_value);
}

// The values that go to the heap, and the record array and BTH header it
// holds itself.
void ReserveHeap(const PropertyBag& bag, Heap* heap) {
  size_t allocations = 2;
  for (const PropertyBag::Entry& entry : bag.entries()) {
    if (entry.second.size() > kInlineValueLimit) ++allocations;
  }
  heap->Reserve(allocations, bag.size() * (kPcKeySize + kPcEntrySize) + kBthHeaderSize);
}

}  // namespace

void BuildPropertyContext(const PropertyBag& bag, Heap* heap) {
  heap->Reset();
  heap->set_client_signature(kClientSigPropertyContext);

  BthBuilder records(kPcKeySize, kPcEntrySize);
  records.Reserve(bag.size());
  ReserveHeap(bag, heap);
  for (const PropertyBag::Entry& entry : bag.entries()) {  // ascending tags
    uint8_t record[kPcEntrySize];
    EncodeFixed16(record, PropType(entry.first));
    EncodeFixed32(record + 2, ValueHnid(entry.second, heap));
    records.Add(PropId(entry.first), record);
  }
  heap->set_user_root(records.Finish(heap));
}

}  // namespace ltp
}  // namespace virel
