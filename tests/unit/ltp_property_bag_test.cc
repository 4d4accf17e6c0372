#include <string>

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

// Values up to eight bytes live in place, longer ones in a vector; both
// read back, move out and copy under a second tag the same way.
TEST(LtpPropertyBagTest, ShortAndLongValuesAndSecondTags) {
  PropertyBag bag;
  const Bytes eight{1, 2, 3, 4, 5, 6, 7, 8};
  const Bytes nine{1, 2, 3, 4, 5, 6, 7, 8, 9};
  bag.SetBytes(0x10000102, eight);
  bag.SetBytes(0x10010102, nine);
  EXPECT_EQ(*bag.Find(0x10000102), eight);
  EXPECT_EQ(*bag.Find(0x10010102), nine);
  EXPECT_FALSE(*bag.Find(0x10010102) == eight);

  Bytes out;
  ASSERT_TRUE(bag.Take(0x10000102, &out));
  EXPECT_EQ(out, eight);
  ASSERT_TRUE(bag.Take(0x10010102, &out));
  EXPECT_EQ(out, nine);
  EXPECT_TRUE(bag.Find(0x10010102)->empty());
  EXPECT_FALSE(bag.Take(0x10020102, &out));

  // The second tag gets a copy even when adding it moves the first one.
  for (uint32_t i = 0; i < 40; ++i) {
    const uint32_t first = 0x30000000 + (i << 16) + 0x1F;
    bag.SetBytes(0x20000000 + (i << 16) + 0x1F, bag.SetString(first, "text " + std::to_string(i)));
  }
  for (uint32_t i = 0; i < 40; ++i) {
    EXPECT_EQ(bag.Find(0x20000000 + (i << 16) + 0x1F)->ToBytes(),
              bag.Find(0x30000000 + (i << 16) + 0x1F)->ToBytes());
  }
}

TEST(LtpPropertyBagTest, TagsSortUnsigned) {
  PropertyBag bag;
  bag.SetInt32(0x8001001F, 1);
  bag.SetInt32(0x00010003, 1);
  bag.SetInt32(0x0001001F, 1);
  bag.SetInt32(0x7FFF0102, 1);
  std::vector<uint32_t> tags;
  for (const auto& entry : bag.entries()) tags.push_back(entry.first);
  EXPECT_EQ(tags, (std::vector<uint32_t>{0x00010003, 0x0001001F, 0x7FFF0102, 0x8001001F}));
}

}  // namespace
