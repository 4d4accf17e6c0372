#include <gtest/gtest.h>

#include "image_builder.h"
#include "property_context.h"
#include "table_context.h"

namespace {

using namespace testimg;

constexpr std::uint64_t kBase = 0x8000;  // pretend file offset of the heap

vread::NodeBytes at(Bytes bytes) {
  vread::NodeBytes n;
  n.segments.push_back({0, kBase, bytes.size()});
  n.bytes = std::move(bytes);
  return n;
}

bool mentions(const vread::ViolationLog& log, const std::string& fragment) {
  for (const auto& v : log.all())
    if (v.message.find(fragment) != std::string::npos) return true;
  return false;
}

TEST(PropertyContext, ResolvesInlineHeapAndRepeatedIds) {
  Bytes entryId(24, 0xAB);
  Props props{{0x0E070003, le32b(0x01020304)},
              {0x0037001F, u16le("Hi")},  // 4 bytes: kept in the record
              {0x0E1D001F, u16le("A")},   // 2 bytes: kept in the record
              {0x00390040, le64b(116444736000000000ull)},
              {0x3001001E, entryId},      // same ID as the next, smaller type first
              {0x3001001F, u16le("Inbox")},
              {0x1000001F, {}}};
  vread::ViolationLog log;
  auto heap = vread::Heap::parse(at(pcHeap(props)), log);
  ASSERT_TRUE(heap);
  auto pc = vread::PropertyContext::parse(*heap, log);
  ASSERT_TRUE(pc);
  EXPECT_TRUE(log.empty()) << log.all()[0].message;
  EXPECT_EQ(pc->u32(0x0E070003), 0x01020304u);
  EXPECT_EQ(pc->text(0x0037001F), "Hi");
  EXPECT_EQ(pc->text(0x0E1D001F), "A");
  EXPECT_EQ(pc->u64(0x00390040), 116444736000000000ull);
  EXPECT_EQ(pc->find(0x3001001E)->bytes, entryId);
  EXPECT_EQ(pc->text(0x3001001F), "Inbox");
  EXPECT_TRUE(pc->find(0x1000001F)->bytes.empty());
  EXPECT_FALSE(pc->find(0x0037001F)->inHeap);
  EXPECT_TRUE(pc->find(0x3001001F)->inHeap);
}

TEST(Heap, BrokenPageMapsAreReportedWithOffsets) {
  Bytes good = heap(0xBC, 0x20, {Bytes(5, 1), Bytes(8, 2)});
  vread::ViolationLog log;
  auto parsed = vread::Heap::parse(at(good), log);
  ASSERT_TRUE(parsed);
  EXPECT_EQ(parsed->count(), 2u);
  EXPECT_EQ(parsed->item(0x40), Bytes(8, 2));
  EXPECT_EQ(parsed->fileOffset(0x40), kBase + 17);
  EXPECT_FALSE(parsed->isHid(0x60));
  EXPECT_FALSE(parsed->isHid(0x41));

  Bytes badSig = good;
  badSig[2] = 0xED;
  vread::ViolationLog sigLog;
  EXPECT_FALSE(vread::Heap::parse(at(badSig), sigLog));
  ASSERT_EQ(sigLog.size(), 1u);
  EXPECT_EQ(sigLog.all()[0].offset, kBase + 2);

  Bytes shuffled = good;
  put16(shuffled, 25 + 6, 30);  // rgibAlloc[1] beyond rgibAlloc[2]
  vread::ViolationLog mapLog;
  EXPECT_FALSE(vread::Heap::parse(at(shuffled), mapLog));
  EXPECT_TRUE(mentions(mapLog, "offsets decrease"));

  Bytes orphan = heap(0xBC, 0x40, {Bytes(6, 0), {0xB5, 2, 6, 0, 0, 0, 0, 0}});
  vread::ViolationLog orphanLog;
  auto h = vread::Heap::parse(at(orphan), orphanLog);
  ASSERT_TRUE(h);
  EXPECT_TRUE(vread::PropertyContext::parse(*h, orphanLog));
  EXPECT_TRUE(mentions(orphanLog, "heap allocation 0x20 is referenced by nothing"));
}

TEST(TableContext, LaysOutColumnsAndChecksTheRowIndex) {
  const std::vector<std::uint32_t> columns{0x67F20003, 0x0E170003, 0x0037001F, 0x0E060040, 0x0E1B000B};
  std::vector<TableRow> rows{{3, {{0x67F20003, le32b(3)}, {0x0037001F, u16le("three")}, {0x0E1B000B, {1, 0}}}},
                             {7, {{0x67F20003, le32b(7)}, {0x0E060040, le64b(42)}}}};
  vread::ViolationLog log;
  auto h = vread::Heap::parse(at(tcHeap(columns, rows)), log);
  ASSERT_TRUE(h);
  auto tc = vread::TableContext::parse(*h, log);
  ASSERT_TRUE(tc);
  EXPECT_TRUE(log.empty()) << log.all()[0].message;
  EXPECT_EQ(tc->rowSize(), 23u);  // 4+4+4+8, then 2, then one bitmap byte
  ASSERT_EQ(tc->rows().size(), 2u);
  const vread::Row& first = tc->rows()[0];
  EXPECT_EQ(first.rowId, 3u);
  EXPECT_EQ(tc->text(first, 0x0037001F), "three");
  EXPECT_EQ(tc->cell(first, 0x0E060040), nullptr);  // existence bit clear
  EXPECT_EQ(tc->cell(first, 0x0E1B000B)->value, (Bytes{1, 0}));
  EXPECT_EQ(tc->cell(tc->rows()[1], 0x0E060040)->value, le64b(42));

  // Rows handed over out of ID order: the index ranks them, the matrix does not.
  std::swap(rows[0], rows[1]);
  vread::ViolationLog swapped;
  auto h2 = vread::Heap::parse(at(tcHeap(columns, rows)), swapped);
  ASSERT_TRUE(h2);
  ASSERT_TRUE(vread::TableContext::parse(*h2, swapped));
  EXPECT_TRUE(mentions(swapped, "carries row ID 0x7 but the row index gives 0x3"));
}

}  // namespace
