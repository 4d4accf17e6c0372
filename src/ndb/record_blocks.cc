#include "ndb/record_blocks.h"

#include <cstring>

namespace virel {
namespace ndb {
namespace {
constexpr size_t kFolderRecordFixed = 8 + 8 + 4 + 4;
constexpr size_t kContentListFixed = 8 + 4;
constexpr size_t kContentEntrySize = 8 + 4;
constexpr size_t kIndexHeaderSize = 8;      // magic, entry count
constexpr size_t kIndexEntrySize = 16;      // folder ID, offset
constexpr size_t kRowHeaderSize = 12;       // identifier, cell count
constexpr size_t kCellHeaderSize = 8;       // key, value length
}  // namespace

size_t FolderRecordSize(size_t name_bytes, size_t children) {
  return kFolderRecordFixed + name_bytes + 8 * children;
}

size_t ContentListSize(size_t records) {
  return kContentListFixed + kContentEntrySize * records;
}

size_t ContentTableIndexSize(size_t lists) {
  return kIndexHeaderSize + kIndexEntrySize * lists;
}

size_t RecordRowSize(const RecordCells& cells) {
  size_t size = kRowHeaderSize;
  for (const auto& cell : cells) size += kCellHeaderSize + cell.second.size();
  return size;
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
  Bytes out(kIndexHeaderSize + kIndexEntrySize * lists.size());
  std::memcpy(out.data(), kContentTableMagic, 4);
  EncodeFixed32(out.data() + 4, static_cast<uint32_t>(lists.size()));
  uint8_t* p = out.data() + kIndexHeaderSize;
  for (const ContentListRef& l : lists) {
    EncodeFixed64(p, l.folder_id);
    EncodeFixed64(p + 8, l.ib);
    p += kIndexEntrySize;
  }
  return out;
}

size_t RowBlockSize(const std::vector<RecordRow>& rows) {
  size_t size = kRowBlockHeaderSize;
  for (const RecordRow& row : rows) size += RecordRowSize(*row.cells);
  return size;
}

void PutRowBlock(uint8_t* out, uint64_t key, const std::vector<RecordRow>& rows) {
  std::memcpy(out, kRowBlockMagic, 4);
  EncodeFixed64(out + 4, key);
  EncodeFixed32(out + 12, static_cast<uint32_t>(rows.size()));
  out += kRowBlockHeaderSize;
  for (const RecordRow& row : rows) {
    EncodeFixed64(out, row.id);
    EncodeFixed32(out + 8, static_cast<uint32_t>(row.cells->size()));
    out += kRowHeaderSize;
    for (const auto& cell : *row.cells) {
      EncodeFixed32(out, cell.first);
      EncodeFixed32(out + 4, static_cast<uint32_t>(cell.second.size()));
      out += kCellHeaderSize;
      if (!cell.second.empty()) std::memcpy(out, cell.second.data(), cell.second.size());
      out += cell.second.size();
    }
  }
}

Bytes RowBlockPayload(uint64_t key, const std::vector<RecordRow>& rows) {
  Bytes out(RowBlockSize(rows));
  PutRowBlock(out.data(), key, rows);
  return out;
}

}  // namespace ndb
}  // namespace virel
