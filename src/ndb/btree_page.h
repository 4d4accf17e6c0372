// 512-byte pages of the node and block B-trees, and their entry layouts.
#pragma once

#include <cstdint>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr size_t kBTreeEntryArea = 488;
inline constexpr uint8_t kBTEntrySize = 24;   // intermediate entries
inline constexpr uint8_t kBbtEntrySize = 24;  // block tree leaves
inline constexpr uint8_t kNbtEntrySize = 32;  // node tree leaves
inline constexpr uint8_t kLeafLevel = 0;
inline constexpr uint8_t kRootLevel = 1;

namespace btpage_offset {
inline constexpr size_t kCount = 488;
inline constexpr size_t kMaxCount = 489;
inline constexpr size_t kEntrySize = 490;
inline constexpr size_t kLevel = 491;
}  // namespace btpage_offset

// Throws std::runtime_error when the entries do not fit the data area.
Bytes BuildBTreePage(const Bytes& entries, uint8_t entry_size, uint8_t level,
                     uint8_t ptype, uint64_t bid);

void PutBTEntry(Bytes* out, uint64_t key, uint64_t bid, uint64_t ib);
void PutBbtEntry(Bytes* out, uint64_t bid, uint64_t ib, uint16_t cb);
void PutNbtEntry(Bytes* out, uint32_t nid, uint64_t bid_data, uint64_t bid_sub,
                 uint32_t nid_parent);

}  // namespace ndb
}  // namespace virel
