#include <gtest/gtest.h>

#include "mailbox.h"
#include "row_groups.h"
#include "sample_mailbox.h"

namespace {

using namespace testimg;

TEST(RowGroups, ParsesRowsAndRefusesForeignOrShortPayloads) {
  const Bytes group = rowGroupBytes(7, {{0x24, {{0x00390040, le64b(42)}, {0x0C1F001F, u16le("a@b")}}}});
  auto rows = vread::parseRowGroup(group);
  ASSERT_TRUE(rows);
  ASSERT_EQ(rows->size(), 1u);
  const vread::RowCells& row = rows->at(0x24);
  EXPECT_EQ(row.at(0x00390040), le64b(42));
  EXPECT_EQ(row.at(0x0C1F001F), u16le("a@b"));

  // Every cut through the payload, and a count larger than the rows given.
  for (std::size_t cut = 0; cut < group.size(); ++cut)
    EXPECT_FALSE(vread::parseRowGroup(Bytes(group.begin(), group.begin() + static_cast<std::ptrdiff_t>(cut))))
        << "cut at " << cut;
  Bytes overCount = group;
  put32(overCount, 12, 2);
  EXPECT_FALSE(vread::parseRowGroup(overCount));
  Bytes hugeCell = group;
  put32(hugeCell, 32, 0xFFFFFFF0u);  // the first cell's length
  EXPECT_FALSE(vread::parseRowGroup(hugeCell));
  Bytes foreign = group;
  foreign[0] = 'X';
  EXPECT_FALSE(vread::parseRowGroup(foreign));
  EXPECT_TRUE(vread::parseRowGroup(rowGroupBytes(7, {})));
}

TEST(Mailbox, ReadsHtmlBodyBusyStatusAndTheRowGroupsTimeAndSender) {
  SampleOptions options;
  options.bodyHtml = {'<', 'p', '>', 'H', 'i', 0xC3, 0xA9, '<', '/', 'p', '>'};
  options.busyStatus = true;
  options.rowGroup = true;
  vread::Mailbox m = vread::Mailbox::fromBytes(buildSample(options).image);
  ASSERT_TRUE(m.complete()) << describe(m);
  const vread::Item* msg = m.item(kMessage);
  ASSERT_NE(msg, nullptr);
  EXPECT_EQ(msg->bodyHtml, options.bodyHtml);
  EXPECT_EQ(msg->time, kMessageFiletime);
  EXPECT_EQ(msg->senderAddress, kSenderAddress);
  EXPECT_EQ(m.item(kEvent)->busyStatus, kBusyStatus);

  // Without them nothing is made up.
  vread::Mailbox plain = vread::Mailbox::fromBytes(buildSample().image);
  ASSERT_TRUE(plain.complete()) << describe(plain);
  EXPECT_TRUE(plain.item(kMessage)->bodyHtml.empty());
  EXPECT_FALSE(plain.item(kMessage)->time);
  EXPECT_EQ(plain.item(kMessage)->senderAddress, "");
  EXPECT_FALSE(plain.item(kEvent)->busyStatus);
}

}  // namespace
