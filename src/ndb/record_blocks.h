// Payloads of the writer's bookkeeping record blocks, written at close and
// reachable only through the block B-tree.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr char kContentTableMagic[] = "CTBL";
inline constexpr char kRowBlockMagic[] = "LTPC";

// One folder: its ID, parent, UTF-8 name and child IDs.
Bytes FolderRecordPayload(uint64_t folder_id, uint64_t parent_id,
                          const std::string& name,
                          const std::vector<uint64_t>& children);

struct ContentEntry {
  uint64_t item_id;
  uint32_t kind;
};

// The content records of one folder.
Bytes ContentListPayload(uint64_t folder_id,
                         const std::vector<ContentEntry>& records);

struct ContentListRef {
  uint64_t folder_id;
  uint64_t ib;
};

// Index over the content list blocks, in the order given.
Bytes ContentTableIndexPayload(const std::vector<ContentListRef>& lists);

struct RecordRow {
  uint64_t id;
  std::vector<std::pair<uint32_t, Bytes>> cells;  // (key, value bytes)
};

// One group of rows under a 64-bit key.
Bytes RowBlockPayload(uint64_t key, const std::vector<RecordRow>& rows);

// Payload sizes, for planning without building the records.
size_t FolderRecordSize(size_t name_bytes, size_t children);
size_t ContentListSize(size_t records);
size_t ContentTableIndexSize(size_t lists);
// A row block is its header and its rows' encodings.
inline constexpr size_t kRowBlockHeaderSize = 16;
Bytes RecordRowBytes(const RecordRow& row);

}  // namespace ndb
}  // namespace virel
