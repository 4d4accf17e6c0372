// Reading inputs in place: mapped files and mbox messages handed out as
// views, one unquoting buffer reused from message to message.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "input_file.h"
#include "mbox_file.h"
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

}  // namespace
}  // namespace vimport
