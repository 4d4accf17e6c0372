#include "ndb/record_blocks.h"

namespace virel {
namespace ndb {
namespace {
void PutMagic(Bytes* out, const char* magic) { PutBytes(out, magic, 4); }
}  // namespace

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
  // Sized once: a folder's rows carry its items' bodies.
  size_t size = 16;
  for (const RecordRow& row : rows) {
    size += 12;
    for (const auto& cell : *row.cells) size += 8 + cell.second.size();
  }
  Bytes out;
  out.reserve(size);
  PutMagic(&out, kRowBlockMagic);
  PutFixed64(&out, key);
  PutFixed32(&out, static_cast<uint32_t>(rows.size()));
  for (const RecordRow& row : rows) {
    PutFixed64(&out, row.id);
    PutFixed32(&out, static_cast<uint32_t>(row.cells->size()));
    for (const auto& cell : *row.cells) {
      PutFixed32(&out, cell.first);
      PutFixed32(&out, static_cast<uint32_t>(cell.second.size()));
      PutBytes(&out, cell.second);
    }
  }
  return out;
}

}  // namespace ndb
}  // namespace virel
