#include "ndb/record_blocks.h"

namespace virel {
namespace ndb {
namespace {
constexpr size_t kMagicSize = 4;
constexpr size_t kFolderRecordFixed = 8 + 8 + 4 + 4;
constexpr size_t kContentListFixed = 8 + 4;
constexpr size_t kContentEntrySize = 8 + 4;
constexpr size_t kIndexFixed = kMagicSize + 4;
constexpr size_t kIndexEntrySize = 8 + 8;

void PutMagic(Bytes* out, const char* magic) { PutBytes(out, magic, kMagicSize); }
}  // namespace

size_t FolderRecordSize(size_t name_bytes, size_t children) {
  return kFolderRecordFixed + name_bytes + 8 * children;
}

size_t ContentListSize(size_t records) {
  return kContentListFixed + kContentEntrySize * records;
}

size_t ContentTableIndexSize(size_t lists) {
  return kIndexFixed + kIndexEntrySize * lists;
}

Bytes RecordRowBytes(const RecordRow& row) {
  Bytes out;
  PutFixed64(&out, row.id);
  PutFixed32(&out, static_cast<uint32_t>(row.cells.size()));
  for (const auto& cell : row.cells) {
    PutFixed32(&out, cell.first);
    PutFixed32(&out, static_cast<uint32_t>(cell.second.size()));
    PutBytes(&out, cell.second);
  }
  return out;
}

Bytes FolderRecordPayload(uint64_t folder_id, uint64_t parent_id,
                          const std::string& name,
                          const std::vector<uint64_t>& children) {
  Bytes out;
  PutFixed64(&out, folder_id);
  PutFixed64(&out, parent_id);
  PutFixed32(&out, static_cast<uint32_t>(name.size()));
  PutBytes(&out, name);
  PutFixed32(&out, static_cast<uint32_t>(children.size()));
  for (uint64_t child : children) PutFixed64(&out, child);
  return out;
}

Bytes ContentListPayload(uint64_t folder_id,
                         const std::vector<ContentEntry>& records) {
  Bytes out;
  PutFixed64(&out, folder_id);
  PutFixed32(&out, static_cast<uint32_t>(records.size()));
  for (const ContentEntry& r : records) {
    PutFixed64(&out, r.item_id);
    PutFixed32(&out, r.kind);
  }
  return out;
}

Bytes ContentTableIndexPayload(const std::vector<ContentListRef>& lists) {
  Bytes out;
  PutMagic(&out, kContentTableMagic);
  PutFixed32(&out, static_cast<uint32_t>(lists.size()));
  for (const ContentListRef& l : lists) {
    PutFixed64(&out, l.folder_id);
    PutFixed64(&out, l.ib);
  }
  return out;
}

Bytes RowBlockPayload(uint64_t key, const std::vector<RecordRow>& rows) {
  Bytes out;
  PutMagic(&out, kRowBlockMagic);
  PutFixed64(&out, key);
  PutFixed32(&out, static_cast<uint32_t>(rows.size()));
  for (const RecordRow& row : rows) PutBytes(&out, RecordRowBytes(row));
  return out;
}

}  // namespace ndb
}  // namespace virel
