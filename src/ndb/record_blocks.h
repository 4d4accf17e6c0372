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

using RecordCells = std::vector<std::pair<uint32_t, Bytes>>;  // (key, value)

// A row refers to its cells, which the caller keeps until the payload is
// built, so no cell is copied on the way.
struct RecordRow {
  uint64_t id;
  const RecordCells* cells;
};

// One group of rows under a 64-bit key: its size, the bytes written to
// `out` (which has room for that size), and the same as a byte array.
size_t RowBlockSize(const std::vector<RecordRow>& rows);
void PutRowBlock(uint8_t* out, uint64_t key, const std::vector<RecordRow>& rows);
Bytes RowBlockPayload(uint64_t key, const std::vector<RecordRow>& rows);

// Payload sizes, for planning without building the records.
size_t FolderRecordSize(size_t name_bytes, size_t children);
size_t ContentListSize(size_t records);
size_t ContentTableIndexSize(size_t lists);
// A row block is its header and its rows' encodings.
inline constexpr size_t kRowBlockHeaderSize = 16;
size_t RecordRowSize(const RecordCells& cells);

}  // namespace ndb
}  // namespace virel
