#include <gtest/gtest.h>

#include "mailbox.h"
#include "sample_mailbox.h"
#include "text.h"

namespace {

using namespace testimg;

TEST(Mailbox, ReadsSampleAsCompleteWithFolderTree) {
  vread::Mailbox m = vread::Mailbox::fromBytes(buildSample().image);
  ASSERT_TRUE(m.complete()) << describe(m);
  EXPECT_EQ(m.status(), vread::FileStatus::Complete);
  EXPECT_TRUE(m.warnings().empty());
  EXPECT_EQ(m.header().state, vread::HeaderState::Final);
  EXPECT_EQ(m.storeName(), "Personal Folders");
  ASSERT_EQ(m.folders().size(), 7u);
  EXPECT_EQ(m.folders()[0].name, "Root");
  std::vector<std::string> names;
  for (std::size_t i = 1; i < m.folders().size(); ++i) names.push_back(m.folders()[i].name);
  EXPECT_EQ(names, (std::vector<std::string>{"Calendar", "Inbox", "Outbox", "Sent Items", "Deleted Items", "Drafts"}));
  EXPECT_EQ(m.folder(0x202)->items.size(), 1u);
  ASSERT_TRUE(m.recordBlock());
  EXPECT_EQ(m.recordBlock()->messages, 1u);
  EXPECT_EQ(m.recordBlock()->events, 1u);
}

TEST(Mailbox, ReadsMessageRecipientsAttachmentsAndEventTimes) {
  vread::Mailbox m = vread::Mailbox::fromBytes(buildSample().image);
  const vread::Item* msg = m.item(kMessage);
  ASSERT_NE(msg, nullptr);
  EXPECT_EQ(msg->subject, "Hello");
  EXPECT_EQ(msg->senderName, "Alice");
  ASSERT_EQ(msg->recipients.size(), 2u);
  EXPECT_EQ(msg->recipients[1].name, "Carol");
  EXPECT_EQ(msg->recipients[1].type, 2u);
  EXPECT_EQ(msg->recipients[1].address, "carol@example.com");
  ASSERT_EQ(msg->attachments.size(), 1u);
  EXPECT_EQ(msg->attachments[0].name, "a.txt");
  EXPECT_EQ(msg->attachments[0].size, kAttachmentSize);
  EXPECT_EQ(m.attachmentData(msg->attachments[0]), attachmentBytes());

  const vread::Item* ev = m.item(kEvent);
  ASSERT_NE(ev, nullptr);
  EXPECT_TRUE(ev->isEvent);
  EXPECT_EQ(ev->start, kStartFiletime);
  EXPECT_EQ(vread::filetimeToIso(*ev->end), "2023-11-14T23:13:20Z");
  EXPECT_EQ(ev->location, "Room 1");
}

TEST(Mailbox, ExposesNodesTablesAndBlocks) {
  Sample s = buildSample();
  vread::Mailbox m = vread::Mailbox::fromBytes(s.image);
  auto table = m.subnodeTable(0x2442, 0x0D);
  ASSERT_TRUE(table);
  ASSERT_EQ(table->rows().size(), 6u);
  EXPECT_EQ(table->rows()[1].rowId, 0x202u);
  EXPECT_EQ(table->text(table->rows()[1], 0x3001001F), "Inbox");
  auto pc = m.properties(0x61);
  ASSERT_TRUE(pc);
  EXPECT_EQ(pc->find(0x00030102)->bytes.size(), 24u);
  EXPECT_EQ(m.nameMap().propertyId(vread::kPsetidAppointment, vread::kDispidLocation), 0x8002);
  // The record block is in the file but not in the BBT; it decodes by offset.
  ASSERT_EQ(m.unlistedBlocks().size(), 1u);
  auto record = m.payloadAt(s.recordIb);
  ASSERT_TRUE(record);
  EXPECT_EQ(record->size(), 64u);
  EXPECT_EQ((*record)[0], 1);
  EXPECT_TRUE(m.unreferencedBlocks().empty());
  auto inbox = m.blockPayload(m.node(0x202)->bidData);
  ASSERT_TRUE(inbox);
  EXPECT_EQ((*inbox)[2], 0xEC);  // decoded heap signature
}

TEST(Mailbox, ReportsProvisionalHeaderAsIncomplete) {
  Bytes image = buildSample().image;
  std::fill(image.begin() + 180, image.begin() + 252, 0);
  put32(image, 400, 0);
  put32(image, 4, crc(image.data() + 8, 471));
  put32(image, 400, crc(image.data(), 512));
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_EQ(m.header().state, vread::HeaderState::Provisional);
  EXPECT_TRUE(m.violations().empty()) << describe(m);
  EXPECT_FALSE(m.complete());
  EXPECT_EQ(m.status(), vread::FileStatus::Provisional);
  EXPECT_TRUE(m.folders().empty());
}

TEST(Mailbox, UnlistedSpaceIsAWarningWithItsOffsetAndSize) {
  SampleOptions options;
  options.strayBytes = 192;
  options.staleRecord = true;
  Sample s = buildSample(options);
  vread::Mailbox m = vread::Mailbox::fromBytes(s.image);
  EXPECT_TRUE(m.violations().empty()) << describe(m);
  EXPECT_TRUE(m.complete());
  EXPECT_EQ(m.status(), vread::FileStatus::CompleteWithWarnings);
  EXPECT_STREQ(vread::statusName(m.status()), "complete, with warnings");
  ASSERT_EQ(m.warnings().size(), 2u);
  EXPECT_EQ(m.warnings()[0].offset, s.strayIb);
  EXPECT_EQ(m.warnings()[0].size, 192u);
  EXPECT_EQ(m.warnings()[1].offset, s.staleRecordIb);
  EXPECT_EQ(m.warnings()[1].size, 64u + 16u);  // payload and trailer
  // The last record block still counts.
  ASSERT_TRUE(m.recordBlock());
  EXPECT_EQ(m.recordBlock()->ib, s.recordIb);

  // Listed pages that belong to neither B-tree, as a retried close leaves.
  SampleOptions retried;
  retried.stalePages = true;
  Sample r = buildSample(retried);
  vread::Mailbox stale = vread::Mailbox::fromBytes(r.image);
  EXPECT_TRUE(stale.violations().empty()) << describe(stale);
  EXPECT_EQ(stale.status(), vread::FileStatus::CompleteWithWarnings);
  ASSERT_FALSE(stale.warnings().empty());
  EXPECT_TRUE(hasWarning(stale, r.stalePageIb, "belongs to neither B-tree")) << describe(stale);
  EXPECT_EQ(stale.warnings()[0].size, 512u);

  // A final file cut short of the padded minimum stays invalid.
  Bytes cut = s.image;
  cut.resize(200000);
  vread::Mailbox shortFile = vread::Mailbox::fromBytes(cut);
  EXPECT_TRUE(hasViolation(shortFile, 200000, "padded minimum")) << describe(shortFile);
  EXPECT_EQ(shortFile.status(), vread::FileStatus::Invalid);
}

}  // namespace
