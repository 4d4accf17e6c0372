// Lays a table out as a table context (TCINFO, row matrix, row index)
// inside a heap.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "core/coding.h"
#include "ltp/heap.h"

namespace virel {
namespace ltp {

// One table row. Cell values are cell-ready bytes: integers little-endian,
// and for strings and binaries the 4-byte HID of a value the caller has
// already allocated on the same heap. A value for a tag that is no column
// is ignored; when a tag appears twice, the later value is used.
struct TableRow {
  uint32_t row_id;
  std::vector<std::pair<uint32_t, Bytes>> cells;
};

// Adds the row matrix, the row index and the TCINFO (the user root) to the
// heap, after whatever the caller already allocated there. The matrix keeps
// the given row order while the row index numbers rows by ascending row ID,
// so callers pass rows sorted by row ID.
void BuildTableContext(const std::vector<uint32_t>& columns,
                       const std::vector<TableRow>& rows, Heap* heap);

}  // namespace ltp
}  // namespace virel
