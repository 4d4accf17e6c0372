#include <gtest/gtest.h>

#include "ltp/property_context.h"
#include "unit/ltp_test_reader.h"

namespace {

using ltp_test::BthView;
using ltp_test::HeapView;
using ltp_test::PcRecord;
using virel::Bytes;
using virel::ltp::Heap;
using virel::ltp::PropertyBag;

// Builds the bag and reads the heap and its BTH back.
void BuildAndRead(const PropertyBag& bag, HeapView* heap_view,
                  BthView* bth) {
  Heap heap;
  heap.Allocate(Bytes{0xAA, 0xBB});  // left over; the build must reset
  heap.set_user_root(0x1234);
  virel::ltp::BuildPropertyContext(bag, &heap);
  ASSERT_TRUE(ltp_test::ParseHeap(heap.Serialize(), heap_view));
  EXPECT_EQ(heap_view->client_sig, 0xBC);
  ASSERT_TRUE(ltp_test::ParseBth(*heap_view, heap_view->user_root, bth));
  EXPECT_EQ(bth->type, 0xB5);
  EXPECT_EQ(bth->cb_key, 2);
  EXPECT_EQ(bth->cb_ent, 6);
  EXPECT_EQ(bth->levels, 0);
}

TEST(LtpPropertyContextTest, EmptyBagHasOnlyTheHeader) {
  HeapView heap;
  BthView bth;
  BuildAndRead(PropertyBag(), &heap, &bth);
  EXPECT_EQ(heap.c_alloc, 1);
  EXPECT_EQ(heap.user_root, 0x20u);
  EXPECT_EQ(bth.hid_root, 0u);
}

TEST(LtpPropertyContextTest, InlineAndHeapValues) {
  PropertyBag bag;
  bag.SetInt32(0x0E070003, 0x01020304);               // PT_LONG, inline
  bag.SetInt64(0x00390040, 0x01D0000000000000ull);    // PT_SYSTIME, heap
  bag.SetString(0x0037001F, "");                      // empty string
  bag.SetString(0x3001001F, "Inbox");                 // 10 bytes, heap
  bag.SetBytes(0x10F4000B, Bytes{1, 0});              // 2-byte boolean
  bag.SetInt32(0x10F40003, 0xFFFFFFFF);               // same id, other type
  bag.SetInt32(0x0E1B000B, 1);                        // 4-byte boolean
  bag.SetBytes(0x00FF0102, Bytes{0xAB, 0xCD, 0xEF});  // short binary
  HeapView heap;
  BthView bth;
  BuildAndRead(bag, &heap, &bth);

  // Long values in tag order, then the records, then the header.
  ASSERT_EQ(heap.c_alloc, 4);
  EXPECT_EQ(heap.Item(0x20), (Bytes{0, 0, 0, 0, 0, 0, 0xD0, 0x01}));
  EXPECT_EQ(heap.Item(0x40), *bag.Find(0x3001001F));
  EXPECT_EQ(bth.hid_root, 0x60u);
  EXPECT_EQ(heap.user_root, 0x80u);

  const std::vector<PcRecord> records = ltp_test::PcRecords(bth);
  const std::vector<PcRecord> expected = {
      {0x0037, 0x001F, 0},          {0x0039, 0x0040, 0x20},
      {0x00FF, 0x0102, 0xEFCDAB},   {0x0E07, 0x0003, 0x01020304},
      {0x0E1B, 0x000B, 1},          {0x10F4, 0x0003, 0xFFFFFFFF},
      {0x10F4, 0x000B, 1},          {0x3001, 0x001F, 0x40},
  };
  ASSERT_EQ(records.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(records[i].prop_id, expected[i].prop_id);
    EXPECT_EQ(records[i].prop_type, expected[i].prop_type);
    EXPECT_EQ(records[i].value_hnid, expected[i].value_hnid);
  }
}

}  // namespace
