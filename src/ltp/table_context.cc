#include "ltp/table_context.h"

#include <algorithm>
#include <utility>

#include "ltp/bth.h"
#include "ltp/ltp_format.h"

namespace virel {
namespace ltp {

namespace {

constexpr uint8_t kWideCell = 8;
constexpr uint8_t kNormalCell = 4;
constexpr uint8_t kShortCell = 2;
constexpr size_t kBitsPerByte = 8;
constexpr uint8_t kFirstBitMask = 0x80;  // most significant bit first
constexpr uint8_t kRowIndexKeySize = 4;
constexpr uint8_t kRowIndexEntrySize = 4;

// TCOLDESC, 8 bytes.
struct ColumnDesc {
  uint32_t tag;
  uint16_t ib_data;
  uint8_t cb_data;
  uint8_t i_bit;

  void EncodeTo(Bytes* dst) const {
    PutFixed32(dst, tag);
    PutFixed16(dst, ib_data);
    PutFixed8(dst, cb_data);
    PutFixed8(dst, i_bit);
  }
};

// Where each column's cell sits in a row and where the row's groups end.
struct RowLayout {
  std::vector<ColumnDesc> columns;  // in placement order
  uint16_t end_4b = 0;              // rgib[TCI_4b]
  uint16_t end_2b = 0;              // rgib[TCI_2b]
  uint16_t end_1b = 0;              // rgib[TCI_1b]
  uint16_t end_bm = 0;              // rgib[TCI_bm], the row size
};

// TCINFO fixed part; the column descriptors follow it.
struct TcInfo {
  uint8_t column_count;
  uint16_t rgib[4];
  uint32_t hid_row_index;
  uint32_t hnid_rows;
  uint32_t hid_index;

  void EncodeTo(Bytes* dst) const {
    PutFixed8(dst, kTcInfoType);
    PutFixed8(dst, column_count);
    for (uint16_t offset : rgib) PutFixed16(dst, offset);
    PutFixed32(dst, hid_row_index);
    PutFixed32(dst, hnid_rows);
    PutFixed32(dst, hid_index);
  }
};

uint8_t CellWidth(uint32_t tag) {
  switch (PropType(tag)) {
    case kPtI2:
    case kPtBoolean:
      return kShortCell;
    case kPtDouble:
    case kPtCurrency:
    case kPtAppTime:
    case kPtI8:
    case kPtSysTime:
      return kWideCell;
    default:
      return kNormalCell;
  }
}

// Places the 8- and 4-byte columns first, then the 2-byte ones, each group
// in the given order. There are no 1-byte columns.
RowLayout LayOutRow(const std::vector<uint32_t>& columns) {
  RowLayout layout;
  uint16_t offset = 0;
  uint8_t bit = 0;
  auto place_group = [&](bool wide_group) {
    for (uint32_t tag : columns) {
      const uint8_t width = CellWidth(tag);
      if ((width >= kNormalCell) != wide_group) continue;
      layout.columns.push_back({tag, offset, width, bit++});
      offset = static_cast<uint16_t>(offset + width);
    }
  };
  place_group(true);
  layout.end_4b = offset;
  place_group(false);
  layout.end_2b = offset;
  layout.end_1b = offset;
  layout.end_bm = static_cast<uint16_t>(
      offset + (columns.size() + kBitsPerByte - 1) / kBitsPerByte);
  return layout;
}

// The row's last cell for `tag`, or null.
const Bytes* CellValue(const TableRow& row, uint32_t tag) {
  for (auto it = row.cells.rbegin(); it != row.cells.rend(); ++it) {
    if (it->first == tag) return &it->second;
  }
  return nullptr;
}

// Appends the row's fixed-size image to `out`.
void EncodeRow(const RowLayout& layout, const TableRow& row, Bytes* out) {
  const size_t base = out->size();
  out->resize(base + layout.end_bm, 0);
  uint8_t* image = out->data() + base;
  for (const ColumnDesc& column : layout.columns) {
    const Bytes* value = CellValue(row, column.tag);
    if (value == nullptr) continue;
    const size_t n = std::min<size_t>(value->size(), column.cb_data);
    if (column.ib_data + n <= layout.end_1b) {
      std::copy(value->begin(), value->begin() + static_cast<std::ptrdiff_t>(n),
                image + column.ib_data);
    }
    image[layout.end_1b + column.i_bit / kBitsPerByte] |=
        static_cast<uint8_t>(kFirstBitMask >> (column.i_bit % kBitsPerByte));
  }
}

// Row IDs ascending, each mapped to its rank.
uint32_t BuildRowIndex(const std::vector<TableRow>& rows, Heap* heap) {
  std::vector<uint32_t> ids;
  ids.reserve(rows.size());
  for (const TableRow& row : rows) ids.push_back(row.row_id);
  std::sort(ids.begin(), ids.end());

  BthBuilder index(kRowIndexKeySize, kRowIndexEntrySize);
  index.Reserve(ids.size());
  for (size_t rank = 0; rank < ids.size(); ++rank) {
    uint8_t entry[kRowIndexEntrySize];
    EncodeFixed32(entry, static_cast<uint32_t>(rank));
    index.Add(ids[rank], entry);
  }
  return index.Finish(heap);
}

}  // namespace

void BuildTableContext(const std::vector<uint32_t>& columns,
                       const std::vector<TableRow>& rows, Heap* heap) {
  heap->set_client_signature(kClientSigTableContext);
  const RowLayout layout = LayOutRow(columns);

  TcInfo info{static_cast<uint8_t>(columns.size()),
              {layout.end_4b, layout.end_2b, layout.end_1b, layout.end_bm},
              0, 0, 0};
  if (!rows.empty()) {
    Bytes matrix;
    matrix.reserve(rows.size() * layout.end_bm);
    for (const TableRow& row : rows) EncodeRow(layout, row, &matrix);
    info.hnid_rows = heap->Allocate(matrix);
    info.hid_row_index = BuildRowIndex(rows, heap);
  }

  std::vector<ColumnDesc> descs = layout.columns;
  std::stable_sort(descs.begin(), descs.end(),
                   [](const ColumnDesc& a, const ColumnDesc& b) {
                     return a.tag < b.tag;
                   });
  Bytes encoded;
  encoded.reserve(kTcInfoFixedSize + descs.size() * kTcColumnDescSize);
  info.EncodeTo(&encoded);
  for (const ColumnDesc& desc : descs) desc.EncodeTo(&encoded);
  heap->set_user_root(heap->Allocate(encoded));
}

}  // namespace ltp
}  // namespace virel
