// The allocation-map pages written at close: AMap pages describing the
// unit bitmap, with one PMap, FMap and density-list page after the first.
#pragma once

#include <cstdint>

#include "core/coding.h"
#include "ndb/unit_bitmap.h"

namespace virel {
namespace ndb {

// Pages laid out for file offset `start`, ready for one positioned write.
Bytes BuildMapPages(const UnitBitmap& bitmap, uint64_t start);

}  // namespace ndb
}  // namespace virel
