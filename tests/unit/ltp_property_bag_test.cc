#include <gtest/gtest.h>

#include "ltp/property_bag.h"

namespace {

using virel::Bytes;
using virel::ltp::PropertyBag;

TEST(LtpPropertyBagTest, SettersEncodeAndLastWriteWins) {
  PropertyBag bag;
  EXPECT_EQ(bag.Find(0x0E070003), nullptr);
  bag.SetInt32(0x0E070003, 0x01020304);
  bag.SetInt64(0x00390040, 0x0102030405060708ull);
  bag.SetString(0x3001001F, "Inbox");
  bag.SetString(0x0037001F, "");
  ASSERT_NE(bag.Find(0x0E070003), nullptr);
  EXPECT_EQ(*bag.Find(0x0E070003), (Bytes{4, 3, 2, 1}));
  EXPECT_EQ(*bag.Find(0x00390040), (Bytes{8, 7, 6, 5, 4, 3, 2, 1}));
  EXPECT_EQ(bag.Find(0x3001001F)->size(), 10u);
  EXPECT_TRUE(bag.Find(0x0037001F)->empty());

  bag.SetBytes(0x0E070003, Bytes{9});
  bag.SetString(0x3001001F, "Outbox");
  EXPECT_EQ(bag.size(), 4u);
  EXPECT_EQ(*bag.Find(0x0E070003), Bytes{9});
  EXPECT_EQ(bag.Find(0x3001001F)->size(), 12u);
}

TEST(LtpPropertyBagTest, TagsSortUnsigned) {
  PropertyBag bag;
  bag.SetInt32(0x8001001F, 1);
  bag.SetInt32(0x00010003, 1);
  bag.SetInt32(0x0001001F, 1);
  bag.SetInt32(0x7FFF0102, 1);
  EXPECT_EQ(bag.SortedTags(), (std::vector<uint32_t>{
                                  0x00010003, 0x0001001F, 0x7FFF0102,
                                  0x8001001F}));
}

}  // namespace
