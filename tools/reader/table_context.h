// Table context: column descriptions, a row matrix and a row index in a heap.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "heap.h"

namespace vread {

struct Column {
  std::uint32_t tag = 0;
  std::uint16_t ibData = 0;
  std::uint8_t cbData = 0;
  std::uint8_t iBit = 0;
};

struct Cell {
  bool exists = false;  // the row's cell-existence bit
  Bytes value;          // fixed cells: their bytes; variable cells: the heap bytes
};

struct Row {
  std::uint32_t rowId = 0;
  std::uint32_t index = 0;   // position in the row matrix
  std::uint64_t offset = 0;  // file offset of the row in the matrix
  std::vector<Cell> cells;   // one per column, in column order
};

class TableContext {
 public:
  static std::optional<TableContext> parse(const Heap& heap, ViolationLog& log);

  const std::vector<Column>& columns() const { return columns_; }
  const std::vector<Row>& rows() const { return rows_; }  // in matrix order
  std::size_t rowSize() const { return rowSize_; }
  // The cell of `tag` in `row`, nothing when there is no such column or the
  // cell does not exist.
  const Cell* cell(const Row& row, std::uint32_t tag) const;
  std::optional<std::string> text(const Row& row, std::uint32_t tag) const;
  std::optional<std::uint32_t> u32(const Row& row, std::uint32_t tag) const;

 private:
  bool readInfo(const Heap& heap, ViolationLog& log);
  bool checkColumns(std::uint64_t at, ViolationLog& log) const;
  bool readRows(const Heap& heap, ViolationLog& log);
  std::vector<std::uint32_t> readRowIds(const Heap& heap, std::size_t count, ViolationLog& log);
  Row readRow(const Heap& heap, const std::uint8_t* raw, std::uint64_t offset, ViolationLog& log);

  std::vector<Column> columns_;
  std::vector<Row> rows_;
  std::uint16_t rgib_[4] = {0, 0, 0, 0};
  std::size_t rowSize_ = 0;
  std::uint32_t hidRowIndex_ = 0;
  std::uint32_t hnidRows_ = 0;
  std::set<std::uint32_t> used_;  // allocations the table refers to
};

}  // namespace vread
