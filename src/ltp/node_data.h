// Writes a property or table context as a node's data through the data
// writer, the one step every node of the messaging layer ends with.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ltp/heap.h"
#include "ltp/property_bag.h"
#include "ltp/table_context.h"
#include "ndb/data_writer.h"

namespace virel {
namespace ltp {

// A string column's cell: the HID of the UTF-16 text, allocated on the
// table's heap before the table is built.
Bytes StringCell(Heap* heap, const std::string& utf8);

// A heap is one page with 16-bit offsets.
inline constexpr size_t kMaxHeapSize = 0xFFFF;

struct WrittenNodeData {
  uint64_t bid = 0;
  uint64_t heap_size = 0;  // bytes of the serialised heap
};

// The heap's size; throws std::length_error when its offsets would not fit
// 16 bits or its HIDs wrapped, so a caller can check before writing
// anything.
size_t CheckOnePage(const Heap& heap);
// The heap's bytes, after the same check.
Bytes SerializeOnePage(const Heap& heap);
WrittenNodeData WriteNodeData(const Bytes& heap_bytes, ndb::DataWriter* writer);
// Checks, then writes the heap; a one-block heap is built in the block.
WrittenNodeData WriteHeap(const Heap& heap, ndb::DataWriter* writer);

WrittenNodeData WritePropertyContext(const PropertyBag& bag,
                                     ndb::DataWriter* writer);

// `heap` may already hold the rows' variable-size values.
WrittenNodeData WriteTableContext(const std::vector<uint32_t>& columns,
                                  const std::vector<TableRow>& rows, Heap* heap,
                                  ndb::DataWriter* writer);

}  // namespace ltp
}  // namespace virel
