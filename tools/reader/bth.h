// B-tree-on-heap: sorted key/data records kept in heap allocations.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "heap.h"

namespace vread {

struct BthRecord {
  Bytes key;
  Bytes data;
  std::uint64_t offset = 0;  // file offset of the record
};

struct Bth {
  std::uint32_t headerHid = 0;
  std::uint32_t rootHid = 0;
  std::set<std::uint32_t> structureHids;  // header, index and leaf allocations
  std::vector<BthRecord> records;         // in key order
};

// Reads the BTH whose header is allocation `headerHid`, expecting the given
// key and data sizes. Keys must ascend; with `allowEqualKeys` a key may
// repeat (the caller then orders the records itself).
std::optional<Bth> readBth(const Heap& heap, std::uint32_t headerHid, std::uint8_t cbKey, std::uint8_t cbEnt,
                           ViolationLog& log, bool allowEqualKeys = false);

}  // namespace vread
