// The allocation-map pages written at close: AMap pages describing the
// unit bitmap, with one PMap, FMap and density-list page after the first.
#pragma once

#include <cstdint>

#include "core/coding.h"
#include "ndb/unit_bitmap.h"

namespace virel {
namespace ndb {

// Room the head of the file keeps for the map pages.
inline constexpr uint64_t kMapAreaSize = 8192;

// Pages laid out for file offset `start`, ready for one positioned write.
Bytes BuildMapPages(const UnitBitmap& bitmap, uint64_t start);

// Bytes BuildMapPages returns once every unit below `end` is in use.
uint64_t MapPagesSize(uint64_t end);

}  // namespace ndb
}  // namespace virel
