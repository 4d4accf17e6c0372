#include "ltp/node_data.h"

#include <stdexcept>

#include "ltp/property_context.h"
#include "ltp/utf8.h"

namespace virel {
namespace ltp {

Bytes StringCell(Heap* heap, const std::string& utf8) {
  return Fixed32Bytes(heap->Allocate(Utf8ToUtf16(utf8)));
}

size_t CheckOnePage(const Heap& heap) {
  if (heap.wrapped()) {
    throw std::length_error("more heap allocations than heap IDs");
  }
  const size_t size = heap.SerializedSize();
  if (size > kMaxHeapSize) {
    throw std::length_error("property data larger than one heap page");
  }
  return size;
}

Bytes SerializeOnePage(const Heap& heap) {
  CheckOnePage(heap);
  return heap.Serialize();
}

WrittenNodeData WriteNodeData(const Bytes& heap_bytes, ndb::DataWriter* writer) {
  return {writer->WriteData(heap_bytes, false), heap_bytes.size()};
}

WrittenNodeData WriteHeap(const Heap& heap, ndb::DataWriter* writer) {
  const size_t size = CheckOnePage(heap);
  if (size > ndb::kMaxBlockPayload) return WriteNodeData(heap.Serialize(), writer);
  const ndb::Bref block = writer->WriteBlock(
      size, false, true, [&heap](uint8_t* out) { heap.SerializeTo(out); });
  return {block.bid, size};
}

WrittenNodeData WritePropertyContext(const PropertyBag& bag,
                                     ndb::DataWriter* writer) {
  Heap heap;
  BuildPropertyContext(bag, &heap);
  return WriteHeap(heap, writer);
}

WrittenNodeData WriteTableContext(const std::vector<uint32_t>& columns,
                                  const std::vector<TableRow>& rows, Heap* heap,
                                  ndb::DataWriter* writer) {
  BuildTableContext(columns, rows, heap);
  return WriteHeap(*heap, writer);
}

}  // namespace ltp
}  // namespace virel
