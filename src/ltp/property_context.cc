#include "ltp/property_context.h"

#include <algorithm>
#include <utility>

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

}  // namespace

void BuildPropertyContext(const PropertyBag& bag, Heap* heap) {
  heap->Reset();
  heap->set_client_signature(kClientSigPropertyContext);

  BthBuilder records(kPcKeySize, kPcEntrySize);
  for (uint32_t tag : bag.SortedTags()) {
    uint8_t entry[kPcEntrySize];
    EncodeFixed16(entry, PropType(tag));
    EncodeFixed32(entry + 2, ValueHnid(*bag.Find(tag), heap));
    records.Add(PropId(tag), entry);
  }
  heap->set_user_root(records.Finish(heap));
}

}  // namespace ltp
}  // namespace virel
