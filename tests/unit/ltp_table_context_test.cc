#include <gtest/gtest.h>

#include "ltp/table_context.h"
#include "ltp/utf8.h"
#include "unit/ltp_test_reader.h"

namespace {

using ltp_test::BthView;
using ltp_test::HeapView;
using ltp_test::TcInfoView;
using virel::Bytes;
using virel::ltp::Heap;
using virel::ltp::TableRow;

Bytes Le32(uint32_t v) {
  return Bytes{static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8),
               static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 24)};
}

// Builds the table and reads back the heap and its TCINFO.
void BuildAndRead(const std::vector<uint32_t>& columns,
                  const std::vector<TableRow>& rows, Heap* heap,
                  HeapView* heap_view, TcInfoView* info) {
  virel::ltp::BuildTableContext(columns, rows, heap);
  ASSERT_TRUE(ltp_test::ParseHeap(heap->Serialize(), heap_view));
  EXPECT_EQ(heap_view->client_sig, 0x7C);
  ASSERT_TRUE(
      ltp_test::ParseTcInfo(heap_view->Item(heap_view->user_root), info));
  EXPECT_EQ(info->type, 0x7C);
  EXPECT_EQ(info->c_cols, columns.size());
  EXPECT_EQ(info->hid_index, 0u);
}

void ExpectColumn(const TcInfoView& info, size_t i, uint32_t tag,
                  uint16_t ib_data, uint8_t cb_data, uint8_t i_bit) {
  SCOPED_TRACE(i);
  ASSERT_LT(i, info.columns.size());
  EXPECT_EQ(info.columns[i].tag, tag);
  EXPECT_EQ(info.columns[i].ib_data, ib_data);
  EXPECT_EQ(info.columns[i].cb_data, cb_data);
  EXPECT_EQ(info.columns[i].i_bit, i_bit);
}

TEST(LtpTableContextTest, NoRowsGivesTcInfoOnly) {
  Heap heap;
  HeapView view;
  TcInfoView info;
  BuildAndRead({0x3001001F, 0x0E170003}, {}, &heap, &view, &info);
  EXPECT_EQ(view.c_alloc, 1);
  EXPECT_EQ(view.user_root, 0x20u);
  EXPECT_EQ(info.hid_row_index, 0u);
  EXPECT_EQ(info.hnid_rows, 0u);
  EXPECT_EQ(info.rgib[3], 9);
}

TEST(LtpTableContextTest, WideColumnsKeepGivenOrder) {
  const std::vector<uint32_t> columns = {0x67F20003, 0x0E170003, 0x0037001F,
                                         0x0E060040};
  const Bytes time{1, 2, 3, 4, 5, 6, 7, 8};
  std::vector<TableRow> rows(2);
  rows[0].row_id = 1;
  rows[0].cells = {{0x67F20003, Le32(0x21)},
                   {0x0E060040, time},
                   {0x0037001F, Bytes{1, 2, 3, 4, 5, 6}},  // cut to 4 bytes
                   {0x0E170003, Le32(0x11111111)},
                   {0x0E170003, Bytes{2, 2}},              // replaces it
                   {0x12340003, Le32(0x99999999)}};        // no such column
  rows[1].row_id = 2;
  rows[1].cells = {{0x0E060040, time}};
  Heap heap;
  HeapView view;
  TcInfoView info;
  BuildAndRead(columns, rows, &heap, &view, &info);

  EXPECT_EQ(info.rgib[0], 20);
  EXPECT_EQ(info.rgib[1], 20);
  EXPECT_EQ(info.rgib[2], 20);
  EXPECT_EQ(info.rgib[3], 21);
  // Descriptors are sorted by tag; offsets follow the given order.
  ExpectColumn(info, 0, 0x0037001F, 8, 4, 2);
  ExpectColumn(info, 1, 0x0E060040, 12, 8, 3);
  ExpectColumn(info, 2, 0x0E170003, 4, 4, 1);
  ExpectColumn(info, 3, 0x67F20003, 0, 4, 0);

  const Bytes& matrix = view.Item(info.hnid_rows);
  ASSERT_EQ(matrix.size(), 42u);
  EXPECT_EQ(Bytes(matrix.begin(), matrix.begin() + 21),
            (Bytes{0x21, 0, 0, 0, 2, 2, 0, 0, 1, 2, 3, 4, 1, 2, 3, 4, 5, 6, 7,
                   8, 0xF0}));
  EXPECT_EQ(Bytes(matrix.begin() + 21, matrix.end()),
            (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6, 7, 8,
                   0x10}));
}

TEST(LtpTableContextTest, ShortColumnsAndMultiByteBitmap) {
  // One boolean first, seven 4-byte columns, one PT_I2 last.
  std::vector<uint32_t> columns = {0x1000000B};
  for (uint32_t id = 0x2000; id <= 0x8000; id += 0x1000) {
    columns.push_back((id << 16) | 0x0003);
  }
  columns.push_back(0x90000002);
  TableRow row{42, {{0x1000000B, Bytes{1, 0}},
                    {0x90000002, Bytes{0x34, 0x12, 0xFF}},
                    {0x20000003, Le32(7)}}};
  Heap heap;
  HeapView view;
  TcInfoView info;
  BuildAndRead(columns, {row}, &heap, &view, &info);

  EXPECT_EQ(info.rgib[0], 28);
  EXPECT_EQ(info.rgib[1], 32);
  EXPECT_EQ(info.rgib[2], 32);
  EXPECT_EQ(info.rgib[3], 34);
  ExpectColumn(info, 0, 0x1000000B, 28, 2, 7);
  ExpectColumn(info, 1, 0x20000003, 0, 4, 0);
  ExpectColumn(info, 7, 0x80000003, 24, 4, 6);
  ExpectColumn(info, 8, 0x90000002, 30, 2, 8);

  const Bytes& matrix = view.Item(info.hnid_rows);
  ASSERT_EQ(matrix.size(), 34u);
  EXPECT_EQ(Bytes(matrix.begin() + 28, matrix.end()),
            (Bytes{1, 0, 0x34, 0x12, 0x81, 0x80}));
  EXPECT_EQ(Bytes(matrix.begin(), matrix.begin() + 4), Le32(7));
  EXPECT_TRUE(info.CellExists(matrix, *info.Column(0x90000002)));
  EXPECT_FALSE(info.CellExists(matrix, *info.Column(0x30000003)));
}

TEST(LtpTableContextTest, StringTableKeepsCallerHidsAndRowOrder) {
  Heap heap;
  const Bytes first = virel::ltp::Utf8ToUtf16("Seven");
  const Bytes second = virel::ltp::Utf8ToUtf16("Three");
  const uint32_t hid_first = heap.Allocate(first);
  const uint32_t hid_second = heap.Allocate(second);
  ASSERT_EQ(hid_first, 0x20u);
  ASSERT_EQ(hid_second, 0x40u);

  const std::vector<TableRow> rows = {
      {7, {{0x3001001F, Le32(hid_first)}, {0x67F20003, Le32(7)}}},
      {3, {{0x3001001F, Le32(hid_second)}, {0x67F20003, Le32(3)}}}};
  HeapView view;
  TcInfoView info;
  BuildAndRead({0x3001001F, 0x67F20003}, rows, &heap, &view, &info);

  EXPECT_EQ(view.c_alloc, 6);
  EXPECT_EQ(view.Item(0x20), first);
  EXPECT_EQ(view.Item(0x40), second);
  EXPECT_EQ(info.hnid_rows, 0x60u);
  EXPECT_EQ(info.hid_row_index, 0xA0u);
  EXPECT_EQ(view.user_root, 0xC0u);

  // The matrix keeps the given order: row 7 first.
  EXPECT_EQ(view.Item(0x60), (Bytes{0x20, 0, 0, 0, 7, 0, 0, 0, 0xC0,  //
                                    0x40, 0, 0, 0, 3, 0, 0, 0, 0xC0}));
  // The row index ranks rows by ID.
  BthView index;
  ASSERT_TRUE(ltp_test::ParseBth(view, info.hid_row_index, &index));
  EXPECT_EQ(index.type, 0xB5);
  EXPECT_EQ(index.cb_key, 4);
  EXPECT_EQ(index.cb_ent, 4);
  EXPECT_EQ(index.levels, 0);
  EXPECT_EQ(index.hid_root, 0x80u);
  ASSERT_EQ(index.records.size(), 2u);
  EXPECT_EQ(index.records[0].first, 3u);
  EXPECT_EQ(index.records[0].second, Le32(0));
  EXPECT_EQ(index.records[1].first, 7u);
  EXPECT_EQ(index.records[1].second, Le32(1));
}

}  // namespace
