// The output file series against the real writer: files split where the
// capacity check says, bodies move out of refused messages, and whatever
// no file can hold is refused without harming the file.
#include <gtest/gtest.h>

#include <string>

#include "mailbox.h"
#include "output_paths.h"
#include "output_series.h"
#include "unit/test_util.h"

namespace vimport {
namespace {

constexpr size_t kBlockPayload = 8176;

virel::MessageRecord Message(const std::string& subject, size_t attachment_size) {
  virel::MessageRecord m;
  m.subject = subject;
  m.body_plain = "body of " + subject;
  m.recipients.push_back({"To", "to@example.org", virel::RecipientKind::kTo});
  if (attachment_size > 0) {
    m.attachments.push_back({"data.bin", virel::Bytes(attachment_size, 0x5A)});
  }
  return m;
}

size_t ItemCount(const vread::Mailbox& box) {
  size_t n = 0;
  for (const vread::Folder& f : box.folders()) n += f.items.size();
  return n;
}

// Every file of the series is complete and holds what the series counted.
void ExpectFilesHold(const OutputSeries& series) {
  for (const OutputFile& f : series.files()) {
    const vread::Mailbox box = vread::Mailbox::open(f.path);
    EXPECT_TRUE(box.complete()) << f.path;
    EXPECT_EQ(ItemCount(box), f.messages + f.events) << f.path;
  }
}

TEST(OutputSeries, SplitsIntoFilesThatAllClose) {
  testutil::TempDir dir;
  const std::string out = dir.File("mail.pst");
  OutputSeries series(out);
  int last_file = 0;
  for (int i = 0; i < 40; ++i) {
    // About 40 blocks each: a file takes only a handful of them.
    const Placement p = series.AddMessage("Archive/" + std::to_string(i % 3),
                                          Message("m" + std::to_string(i), 40 * kBlockPayload));
    ASSERT_EQ(p.status, PlaceStatus::kWritten) << p.reason;
    EXPECT_GE(p.file, last_file);  // input order: never back to an older file
    last_file = p.file;
    EXPECT_NE(p.nid, 0u);
  }
  virel::EventRecord e;
  e.subject = "meeting";
  EXPECT_EQ(series.AddEvent("Calendar", e).status, PlaceStatus::kWritten);
  ASSERT_TRUE(series.Close());
  EXPECT_TRUE(series.errors().empty());
  ASSERT_GE(series.files().size(), 4u);
  EXPECT_EQ(series.files()[1].path, SeriesPath(out, 2));
  size_t messages = 0;
  for (const OutputFile& f : series.files()) messages += f.messages;
  EXPECT_EQ(messages, 40u);
  EXPECT_EQ(series.files().back().events, 1u);
  ExpectFilesHold(series);
}

TEST(OutputSeries, MovesBodiesOutOfRefusedMessages) {
  testutil::TempDir dir;
  OutputSeries series(dir.File("mail.pst"));
  virel::MessageRecord html = Message("long html", 0);
  html.third_text = "<p>" + std::string(70000, 'h') + "</p>";
  virel::MessageRecord both = Message("long both", 0);
  both.third_text = std::string(40000, 'h');
  both.body_plain = std::string(40000, 'p');
  const Placement p1 = series.AddMessage("Inbox", html);
  const Placement p2 = series.AddMessage("Inbox", both);
  EXPECT_EQ(p1.status, PlaceStatus::kWrittenMovedBody);
  EXPECT_EQ(p2.status, PlaceStatus::kWrittenMovedBody);
  ASSERT_TRUE(series.Close());
  ExpectFilesHold(series);

  const vread::Mailbox box = vread::Mailbox::open(series.files()[0].path);
  const vread::Item* first = box.item(static_cast<uint32_t>(p1.nid));
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(first->body, "body of long html");  // the plain body stays
  ASSERT_EQ(first->attachments.size(), 1u);
  EXPECT_EQ(first->attachments[0].name, "body.html");
  const auto data = box.attachmentData(first->attachments[0]);
  ASSERT_TRUE(data.has_value());
  EXPECT_EQ(std::string(data->begin(), data->end()), html.third_text);

  const vread::Item* second = box.item(static_cast<uint32_t>(p2.nid));
  ASSERT_NE(second, nullptr);
  EXPECT_TRUE(second->body.empty());
  ASSERT_EQ(second->attachments.size(), 2u);
  EXPECT_EQ(second->attachments[0].name, "body.html");
  EXPECT_EQ(second->attachments[1].name, "body.txt");
  EXPECT_EQ(second->attachments[1].size, 40000u);
}

TEST(OutputSeries, RefusesWhatNoFileHoldsAndKeepsGoing) {
  testutil::TempDir dir;
  OutputSeries series(dir.File("mail.pst"));
  EXPECT_EQ(series.AddMessage("Inbox", Message("before", 0)).status,
            PlaceStatus::kWritten);
  // Larger than the block limit of any file.
  const Placement huge = series.AddMessage("Inbox", Message("huge", 5u << 20));
  EXPECT_EQ(huge.status, PlaceStatus::kRejected);
  EXPECT_NE(huge.reason.find("empty output file"), std::string::npos);
  // Texts that stay too long after both bodies moved out.
  virel::MessageRecord subject = Message(std::string(70000, 's'), 0);
  const Placement refused = series.AddMessage("Inbox", subject);
  EXPECT_EQ(refused.status, PlaceStatus::kRejected);
  EXPECT_NE(refused.reason.find("refused"), std::string::npos);
  virel::EventRecord e;
  e.body_plain = std::string(70000, 'd');
  EXPECT_EQ(series.AddEvent("Calendar", e).status, PlaceStatus::kRejected);
  EXPECT_EQ(series.AddMessage("Inbox", Message("after", 0)).status,
            PlaceStatus::kWritten);
  ASSERT_TRUE(series.Close());
  ASSERT_EQ(series.files().size(), 2u);  // the huge one was tried in a new file
  EXPECT_EQ(series.files()[0].messages, 1u);
  EXPECT_EQ(series.files()[1].messages, 1u);
  ExpectFilesHold(series);
}

}  // namespace
}  // namespace vimport
