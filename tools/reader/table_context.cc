#include "table_context.h"

#include "bth.h"
#include "layout.h"
#include "prop_types.h"
#include "text.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint64_t kTcInfoHeader = 22;
constexpr std::uint64_t kColDescSize = 8;
constexpr int kTci4b = 0, kTci2b = 1, kTci1b = 2, kTciBm = 3;
constexpr std::uint8_t kRowIndexKey = 4;
constexpr std::uint8_t kRowIndexData = 4;
constexpr std::uint32_t kTagLtpRowId = 0x67F20003;

bool isFixedCell(std::uint16_t type) { return isInlineType(type) || isEightByteType(type); }

}  // namespace

std::optional<TableContext> TableContext::parse(const Heap& heap, ViolationLog& log) {
  if (heap.clientSig() != kClientTc) {
    log.add(heap.fileOffsetAt(3), "heap client signature " + hex(heap.clientSig()) + " is not a table context");
    return std::nullopt;
  }
  TableContext tc;
  if (!tc.readInfo(heap, log) || !tc.readRows(heap, log)) return std::nullopt;
  reportUnreferenced(heap, tc.used_, log);
  return tc;
}

bool TableContext::readInfo(const Heap& heap, ViolationLog& log) {
  std::uint32_t hid = heap.userRoot();
  std::uint64_t at = heap.fileOffset(hid);
  auto info = heap.item(hid);
  if (!info || info->size() < kTcInfoHeader || (*info)[0] != kClientTc) {
    log.add(at, "TCINFO " + hex(hid) + " is missing or malformed");
    return false;
  }
  used_.insert(hid);
  const Bytes& b = *info;
  unsigned cCols = b[1];
  if (b.size() != kTcInfoHeader + cCols * kColDescSize) {
    log.add(at, "TCINFO of " + std::to_string(b.size()) + " bytes does not hold " + std::to_string(cCols) + " columns");
    return false;
  }
  for (int i = 0; i < 4; ++i) rgib_[i] = le16(b.data() + 2 + 2 * i);
  hidRowIndex_ = le32(b.data() + 10);
  hnidRows_ = le32(b.data() + 14);
  for (unsigned i = 0; i < cCols; ++i) {
    const std::uint8_t* d = b.data() + kTcInfoHeader + i * kColDescSize;
    columns_.push_back({le32(d), le16(d + 4), d[6], d[7]});
  }
  rowSize_ = rgib_[kTciBm];
  return checkColumns(at, log);
}

bool TableContext::checkColumns(std::uint64_t at, ViolationLog& log) const {
  bool ok = true;
  std::vector<bool> bits(columns_.size(), false);
  if (rgib_[kTciBm] != rgib_[kTci1b] + (columns_.size() + 7) / 8) {
    log.add(at + 2, "TCINFO rgib[TCI_bm] " + std::to_string(rgib_[kTciBm]) + " does not leave one bit per column");
    ok = false;
  }
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const Column& c = columns_[i];
    std::uint64_t where = at + kTcInfoHeader + i * kColDescSize;
    if (i > 0 && columns_[i - 1].tag >= c.tag) log.add(where, "TCINFO columns are not sorted by tag");
    if (c.cbData != cellWidth(typeOf(c.tag)))
      log.add(where + 6, "column " + hex(c.tag) + " is " + std::to_string(c.cbData) + " bytes wide, expected " +
                             std::to_string(cellWidth(typeOf(c.tag))));
    int group = c.cbData >= 4 ? kTci4b : (c.cbData == 2 ? kTci2b : kTci1b);
    std::uint16_t low = group == kTci4b ? 0 : rgib_[group - 1];
    if (c.ibData < low || c.ibData + c.cbData > rgib_[group]) {
      log.add(where + 4, "column " + hex(c.tag) + " lies outside its width group");
      ok = false;
    }
    if (c.iBit >= columns_.size() || bits[c.iBit]) {
      log.add(where + 7, "column " + hex(c.tag) + " has a bad or repeated iBit " + std::to_string(c.iBit));
      ok = false;
    } else {
      bits[c.iBit] = true;
    }
  }
  return ok;
}

bool TableContext::readRows(const Heap& heap, ViolationLog& log) {
  if (hnidRows_ == 0) {
    if (hidRowIndex_ != 0) readRowIds(heap, 0, log);
    return true;
  }
  auto matrix = heap.item(hnidRows_);
  if (!matrix) {
    log.add(heap.fileOffsetAt(0), "row matrix " + hex(hnidRows_) + " is not a heap allocation");
    return false;
  }
  used_.insert(hnidRows_);
  std::uint64_t at = heap.fileOffset(hnidRows_);
  if (rowSize_ == 0 || matrix->size() % rowSize_ != 0) {
    log.add(at, "row matrix of " + std::to_string(matrix->size()) + " bytes is not a whole number of " +
                    std::to_string(rowSize_) + "-byte rows");
    return false;
  }
  std::size_t count = matrix->size() / rowSize_;
  std::vector<std::uint32_t> ids = readRowIds(heap, count, log);
  for (std::size_t j = 0; j < count; ++j) {
    Row row = readRow(heap, matrix->data() + j * rowSize_, at + j * rowSize_, log);
    row.rowId = ids[j];
    row.index = static_cast<std::uint32_t>(j);
    const Cell* own = cell(row, kTagLtpRowId);
    if (own != nullptr && le32(own->value.data()) != row.rowId)
      log.add(row.offset, "row " + std::to_string(j) + " carries row ID " + hex(le32(own->value.data())) +
                              " but the row index gives " + hex(row.rowId));
    rows_.push_back(std::move(row));
  }
  return true;
}

std::vector<std::uint32_t> TableContext::readRowIds(const Heap& heap, std::size_t count, ViolationLog& log) {
  std::vector<std::uint32_t> ids(count, 0);
  std::vector<bool> seen(count, false);
  auto bth = readBth(heap, hidRowIndex_, kRowIndexKey, kRowIndexData, log);
  if (!bth) return ids;
  used_.insert(bth->structureHids.begin(), bth->structureHids.end());
  if (bth->records.size() != count)
    log.add(heap.fileOffset(hidRowIndex_), "row index has " + std::to_string(bth->records.size()) +
                                               " entries for " + std::to_string(count) + " rows");
  for (std::size_t k = 0; k < bth->records.size(); ++k) {
    const BthRecord& r = bth->records[k];
    std::uint32_t id = le32(r.key.data()), index = le32(r.data.data());
    if (index >= count || seen[index]) {
      log.add(r.offset, "row index entry for row ID " + hex(id) + " points at missing or repeated row " +
                            std::to_string(index));
      continue;
    }
    if (index != k)
      log.add(r.offset, "row ID " + hex(id) + " ranks " + std::to_string(k) + " in the row index but sits at row " +
                            std::to_string(index) + " of the matrix");
    seen[index] = true;
    ids[index] = id;
  }
  for (std::size_t j = 0; j < count; ++j)
    if (!seen[j]) log.add(heap.fileOffset(hnidRows_) + j * rowSize_, "row " + std::to_string(j) + " has no row ID");
  return ids;
}

Row TableContext::readRow(const Heap& heap, const std::uint8_t* raw, std::uint64_t offset, ViolationLog& log) {
  Row row;
  row.offset = offset;
  for (const Column& c : columns_) {
    Cell cell;
    cell.exists = (raw[rgib_[kTci1b] + c.iBit / 8] & (0x80 >> (c.iBit % 8))) != 0;
    Bytes bytes(raw + c.ibData, raw + c.ibData + c.cbData);
    if (cell.exists && !isFixedCell(typeOf(c.tag))) {
      std::uint32_t hnid = le32(bytes.data());
      if (hnid != 0 && heap.isHid(hnid)) {
        bytes = *heap.item(hnid);
        used_.insert(hnid);
      } else if (hnid != 0) {
        log.add(offset + c.ibData, "cell of column " + hex(c.tag) + " holds " + hex(hnid) +
                                       ", which is no heap allocation");
      } else {
        bytes.clear();
      }
    }
    cell.value = cell.exists ? std::move(bytes) : Bytes{};
    row.cells.push_back(std::move(cell));
  }
  return row;
}

const Cell* TableContext::cell(const Row& row, std::uint32_t tag) const {
  for (std::size_t i = 0; i < columns_.size() && i < row.cells.size(); ++i)
    if (columns_[i].tag == tag) return row.cells[i].exists ? &row.cells[i] : nullptr;
  return nullptr;
}

std::optional<std::string> TableContext::text(const Row& row, std::uint32_t tag) const {
  const Cell* c = cell(row, tag);
  if (c == nullptr) return std::nullopt;
  return utf16ToUtf8(c->value);
}

std::optional<std::uint32_t> TableContext::u32(const Row& row, std::uint32_t tag) const {
  const Cell* c = cell(row, tag);
  if (c == nullptr || c->value.size() < 4) return std::nullopt;
  return le32(c->value.data());
}

}  // namespace vread
