// Reading inputs in place: mapped files, mbox messages handed out as views
// (one unquoting buffer reused from message to message), and decoded
// ahead of the writer on a thread of their own.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"
#include "decode_ahead.h"
#include "mbox_file.h"
#include "mime_reader.h"
#include "unit/test_util.h"

namespace vimport {
namespace {

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

TEST(InputFile, MapsFilesAndRefusesWhatIsNoFile) {
  testutil::TempDir dir;
  const std::string bytes("line\n\0\xff tail", 12);
  Write(dir.File("a"), bytes);
  Write(dir.File("empty"), "");
  InputFile file;
  ASSERT_TRUE(file.Open(dir.File("a")));
  EXPECT_EQ(file.bytes(), bytes);
  ASSERT_TRUE(file.Open(dir.File("empty")));  // the earlier mapping goes
  EXPECT_TRUE(file.bytes().empty());
  EXPECT_FALSE(file.Open(dir.File("missing")));
  EXPECT_TRUE(file.bytes().empty());
  EXPECT_FALSE(file.Open(dir.path().string()));  // a directory
#ifndef _WIN32
  // Not mappable: read instead.
  EXPECT_TRUE(file.Open("/dev/null"));
  EXPECT_TRUE(file.bytes().empty());
#endif
}

TEST(MboxFile, ViewsOfEachMessageInTurn) {
  const std::string mbox =
      "From a Mon Jan  1 10:00:00 2024\nSubject: 1\n\n>From one\nafter\n\n"
      "From b Mon Jan  1 10:00:00 2024\nSubject: 2\n\n>>From two\n\n"
      "From c Mon Jan  1 10:00:00 2024\nSubject: 3\n\nplain\n\n"
      "From d Mon Jan  1 10:00:00 2024\nSubject: 4\n\n>From four";
  MboxReader reader(mbox);
  std::vector<std::string> got;
  std::string_view m;
  while (reader.Next(&m)) {
    // Unquoted messages are the file's own bytes, not a copy.
    if (m.find("plain") != std::string_view::npos) {
      EXPECT_TRUE(m.data() >= mbox.data() && m.data() + m.size() <= mbox.data() + mbox.size());
    }
    got.emplace_back(m);
  }
  const std::vector<std::string> want = {"Subject: 1\n\nFrom one\nafter\n",
                                         "Subject: 2\n\n>From two\n",
                                         "Subject: 3\n\nplain\n",
                                         "Subject: 4\n\nFrom four"};
  EXPECT_EQ(got, want);
}

std::string Mbox(size_t messages) {
  std::string mbox;
  for (size_t i = 0; i < messages; ++i) {
    std::string raw = "Subject: m" + std::to_string(i) + "\nFrom: a" + std::to_string(i) +
                      "@example.org\n\n" + std::string(i * 37 % 500, 'x') + "\n";
    if (i % 3 == 0) raw += "From the middle of a body\n";
    mbox += ToMboxEntry(raw);
  }
  return mbox;
}

TEST(DecodeAhead, HandsOutWhatTheReaderAndParserGiveInOrder) {
  const std::string mbox = Mbox(100);
  // Queue bounds from none to all of it: one message and a few bytes
  // ahead, a few messages, batches of wake-ups, everything.
  for (const auto& [ahead, bytes] : std::vector<std::pair<size_t, size_t>>{
           {1, 1}, {3, 600}, {8, size_t(1) << 30}, {1000, size_t(1) << 30}}) {
    MboxReader reader(mbox);
    DecodeAhead decoder(MboxMessages(mbox), ahead, bytes);
    std::string_view want;
    DecodedMessage got;
    size_t count = 0;
    while (reader.Next(&want)) {
      ASSERT_TRUE(decoder.Next(&got)) << count;
      EXPECT_EQ(got.raw(), want);
      EXPECT_EQ(got.copied, count % 3 == 0);
      const MailItem item = ParseMessage(want);
      EXPECT_EQ(got.item.subject, item.subject);
      EXPECT_EQ(got.item.from.address, item.from.address);
      EXPECT_EQ(got.item.body_plain, item.body_plain);
      ++count;
    }
    EXPECT_EQ(count, 100u);
    EXPECT_FALSE(decoder.Next(&got));
    EXPECT_FALSE(decoder.Next(&got));  // and stays done
  }
  DecodedMessage none;
  EXPECT_FALSE(DecodeAhead(MboxMessages("")).Next(&none));
}

TEST(DecodeAhead, MessageFilesInOrderUnreadableOnesMarked) {
  testutil::TempDir dir;
  std::vector<std::string> paths;
  for (int i = 0; i < 40; ++i) {
    paths.push_back(dir.File(std::to_string(i) + ".eml"));
    if (i % 7 != 3) Write(paths.back(), "Subject: file " + std::to_string(i) + "\n\nbody\n");
  }
  DecodeAhead decoder(MessageFiles(paths), 2, 64);
  DecodedMessage m;
  for (int i = 0; i < 40; ++i) {
    ASSERT_TRUE(decoder.Next(&m)) << i;
    EXPECT_EQ(m.readable, i % 7 != 3) << i;
    if (!m.readable) continue;
    EXPECT_EQ(m.raw(), "Subject: file " + std::to_string(i) + "\n\nbody\n");
    EXPECT_EQ(m.item.subject, "file " + std::to_string(i));
  }
  EXPECT_FALSE(decoder.Next(&m));
}

TEST(DecodeAhead, StopsWhenLeftEarly) {
  const std::string mbox = Mbox(500);
  for (size_t taken : {0u, 1u, 20u}) {
    DecodeAhead decoder(MboxMessages(mbox), 4, size_t(1) << 20);
    DecodedMessage m;
    for (size_t i = 0; i < taken; ++i) {
      ASSERT_TRUE(decoder.Next(&m));
      EXPECT_EQ(m.item.subject, "m" + std::to_string(i));
    }
  }  // each destructor stops the thread while it waits for room
}

}  // namespace
}  // namespace vimport
