// Reading inputs: whole files, mbox messages handed out as views (one
// unquoting buffer reused from message to message), mbox files read in
// pieces, and messages decoded ahead of the writer on a thread of their own.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"
#include "decode_ahead.h"
#include "mbox_file.h"
#include "mbox_stream.h"
#include "mime_reader.h"
#include "unit/test_util.h"

namespace vimport {
namespace {

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

TEST(InputFile, ReadsFilesAndRefusesWhatIsNoFile) {
  testutil::TempDir dir;
  const std::string bytes("line\n\0\xff tail", 12);
  Write(dir.File("a"), bytes);
  Write(dir.File("empty"), "");
  InputFile file;
  ASSERT_TRUE(file.Open(dir.File("a")));
  EXPECT_EQ(file.bytes(), bytes);
  ASSERT_TRUE(file.Open(dir.File("empty")));  // the earlier bytes go
  EXPECT_TRUE(file.bytes().empty());
  EXPECT_FALSE(file.Open(dir.File("missing")));
  EXPECT_TRUE(file.bytes().empty());
  EXPECT_FALSE(file.Open(dir.path().string()));  // a directory
#ifndef _WIN32
  // A device, read to its end.
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

// The messages MboxReader finds in the whole of `mbox`, with their entries.
std::vector<std::pair<std::string, MboxEntry>> Whole(const std::string& mbox) {
  std::vector<std::pair<std::string, MboxEntry>> out;
  MboxReader reader(mbox);
  std::string_view m;
  for (size_t start = reader.position(); reader.Next(&m); start = reader.position()) {
    out.push_back({std::string(m), {start, reader.position() - start}});
  }
  return out;
}

TEST(MboxStream, ReadInPiecesGivesWhatTheWholeFileGives) {
  testutil::TempDir dir;
  const std::string long_line(3000, 'L');
  const std::vector<std::string> files = {
      "",
      "no separator at all\nnone\n",
      "junk before\nthe first\nFrom a Mon Jan  1 10:00:00 2024\nSubject: 1\n\nbody\n",
      Mbox(60),
      "From a Mon Jan  1 10:00:00 2024\r\nSubject: crlf\r\n\r\n>From quoted\r\n\r\n"
      "From b Mon Jan  1 10:00:00 2024\r\nSubject: 2\r\n\r\n" + long_line + "\r\n",
      "From x\n" + long_line + "\nFrom after a blank? no\n\nFrom y\nlast line without end",
      "From a 10:00:00\n\n\n\nFrom b 11:00:00\n",
  };
  int n = 0;
  for (const std::string& bytes : files) {
    const std::string path = dir.File("m" + std::to_string(n++));
    Write(path, bytes);
    const auto want = Whole(bytes);
    for (size_t chunk : {size_t(1), size_t(7), size_t(64), MboxStream::kChunkBytes}) {
      SCOPED_TRACE("file " + std::to_string(n) + " chunk " + std::to_string(chunk));
      MboxStream stream(path, chunk);
      ASSERT_TRUE(stream.is_open());
      std::string_view m;
      size_t i = 0;
      for (; stream.Next(&m); ++i) {
        ASSERT_LT(i, want.size());
        EXPECT_EQ(m, want[i].first);
        EXPECT_EQ(stream.entry().offset, want[i].second.offset);
        EXPECT_EQ(stream.entry().size, want[i].second.size);
        EXPECT_EQ(ReadMboxMessage(path, stream.entry()), want[i].first);
      }
      EXPECT_EQ(i, want.size());
      EXPECT_FALSE(stream.failed());
    }
  }
  EXPECT_FALSE(MboxStream(dir.File("missing")).is_open());
  EXPECT_EQ(ReadMboxMessage(dir.File("m3"), {1u << 30, 10}), "");  // past the end
}

TEST(DecodeAhead, HandsOutWhatTheReaderAndParserGiveInOrder) {
  testutil::TempDir dir;
  const std::string mbox = Mbox(100);
  const std::string path = dir.File("in.mbox");
  Write(path, mbox);
  // Queue bounds from none to all of it: one message and a few bytes
  // ahead, a few messages, batches of wake-ups, everything.
  for (const auto& [ahead, bytes] : std::vector<std::pair<size_t, size_t>>{
           {1, 1}, {3, 600}, {8, size_t(1) << 30}, {1000, size_t(1) << 30}}) {
    MboxReader reader(mbox);
    DecodeAhead decoder(MboxMessages(std::make_shared<MboxStream>(path, 256), path),
                        ahead, bytes);
    std::string_view want;
    DecodedMessage got;
    size_t count = 0;
    while (reader.Next(&want)) {
      ASSERT_TRUE(decoder.Next(&got)) << count;
      EXPECT_EQ(got.Raw(), want);
      EXPECT_EQ(got.size, want.size());
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
  Write(path, "");
  EXPECT_FALSE(DecodeAhead(MboxMessages(std::make_shared<MboxStream>(path), path)).Next(&none));
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
    EXPECT_EQ(m.Raw(), "Subject: file " + std::to_string(i) + "\n\nbody\n");
    EXPECT_EQ(m.item.subject, "file " + std::to_string(i));
  }
  EXPECT_FALSE(decoder.Next(&m));
}

TEST(DecodeAhead, StopsWhenLeftEarly) {
  testutil::TempDir dir;
  const std::string path = dir.File("in.mbox");
  Write(path, Mbox(500));
  for (size_t taken : {0u, 1u, 20u}) {
    DecodeAhead decoder(MboxMessages(std::make_shared<MboxStream>(path), path), 4,
                        size_t(1) << 20);
    DecodedMessage m;
    for (size_t i = 0; i < taken; ++i) {
      ASSERT_TRUE(decoder.Next(&m));
      EXPECT_EQ(m.item.subject, "m" + std::to_string(i));
    }
  }  // each destructor stops the thread while it waits for room
}

}  // namespace
}  // namespace vimport
