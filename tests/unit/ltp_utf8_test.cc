#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ltp/utf8.h"
#include "unit/ltp_test_reader.h"

namespace {

using ltp_test::CodeUnits;
using Units = std::vector<uint16_t>;

Units Convert(const std::string& utf8) {
  return CodeUnits(virel::ltp::Utf8ToUtf16(utf8));
}

Units ConvertTerminated(const std::string& utf8) {
  return CodeUnits(virel::ltp::Utf8ToUtf16Terminated(utf8));
}

TEST(LtpUtf8Test, WellFormedText) {
  EXPECT_TRUE(virel::ltp::Utf8ToUtf16("").empty());
  const virel::Bytes inbox = virel::ltp::Utf8ToUtf16("Inbox");
  EXPECT_EQ(inbox, (virel::Bytes{'I', 0, 'n', 0, 'b', 0, 'o', 0, 'x', 0}));
  EXPECT_EQ(Convert("a\xC3\xA9\xE2\x82\xAC"), (Units{0x61, 0xE9, 0x20AC}));
  // Four-byte characters become surrogate pairs.
  EXPECT_EQ(Convert("\xF0\x9F\x98\x80"), (Units{0xD83D, 0xDE00}));
  EXPECT_EQ(Convert("\xF0\x90\x80\x80"), (Units{0xD800, 0xDC00}));
  EXPECT_EQ(Convert("\xF4\x8F\xBF\xBF"), (Units{0xDBFF, 0xDFFF}));
  // Edges of the allowed ranges.
  EXPECT_EQ(Convert("\xC2\x80\xDF\xBF"), (Units{0x80, 0x7FF}));
  EXPECT_EQ(Convert("\xED\x9F\xBF"), (Units{0xD7FF}));
  EXPECT_EQ(Convert("\xEE\x80\x80"), (Units{0xE000}));
  EXPECT_EQ(Convert("\xEF\xBF\xBF"), (Units{0xFFFF}));
  EXPECT_EQ(Convert("\xEF\xBB\xBF" "A"), (Units{0xFEFF, 0x41}));
  EXPECT_EQ(Convert(std::string("a\0b", 3)), (Units{0x61, 0, 0x62}));
}

// ASCII runs of every length around the 8- and 16-byte steps, with one
// two-byte character at every position.
TEST(LtpUtf8Test, AsciiRunsAroundWideSteps) {
  for (size_t n = 0; n <= 40; ++n) {
    for (size_t at = 0; at <= n; ++at) {
      std::string text;
      Units expected;
      for (size_t i = 0; i < n; ++i) {
        if (i == at) {
          text += "\xC3\xA9";
          expected.push_back(0xE9);
        }
        text += static_cast<char>('!' + (i * 7) % 90);
        expected.push_back(static_cast<uint16_t>('!' + (i * 7) % 90));
      }
      ASSERT_EQ(Convert(text), expected) << n << " " << at;
    }
  }
}

TEST(LtpUtf8Test, IllFormedInputBecomesReplacementCharacters) {
  const uint16_t R = 0xFFFD;
  // Overlongs, encoded surrogates, values past U+10FFFF: the lead and an
  // out-of-range second byte make one U+FFFD, each later byte another.
  EXPECT_EQ(Convert("\xE0\x80\xAF"), (Units{R, R}));
  EXPECT_EQ(Convert("\xED\xA0\x80"), (Units{R, R}));
  EXPECT_EQ(Convert("\xF0\x8F\xBF\xBF"), (Units{R, R, R}));
  EXPECT_EQ(Convert("\xF4\x90\x80\x80"), (Units{R, R, R}));
  // Bytes that never start a sequence, and stray continuation bytes.
  EXPECT_EQ(Convert("\xC0\xAF"), (Units{R, R}));
  EXPECT_EQ(Convert("\xC1\xBF"), (Units{R, R}));
  EXPECT_EQ(Convert("\xF5\x80"), (Units{R, R}));
  EXPECT_EQ(Convert("\xFE\xFF"), (Units{R, R}));
  EXPECT_EQ(Convert("\x80\x80"), (Units{R, R}));
  EXPECT_EQ(Convert("A\xBF" "B"), (Units{0x41, R, 0x42}));
  // A sequence broken by a non-continuation byte: the valid prefix is one
  // U+FFFD and the breaking byte is decoded on its own.
  EXPECT_EQ(Convert("\xC3" "A"), (Units{R, 0x41}));
  EXPECT_EQ(Convert("\xE1\x80" "A"), (Units{R, 0x41}));
  EXPECT_EQ(Convert("\xE1" "ABC"), (Units{R, 0x41, 0x42, 0x43}));
  EXPECT_EQ(Convert("\xF0\x9F\x98" "A"), (Units{R, 0x41}));
  EXPECT_EQ(Convert("\xC3\xC3\xA9"), (Units{R, 0xE9}));
  // Cut off by the end: one U+FFFD for everything left.
  EXPECT_EQ(Convert("\xC3"), (Units{R}));
  EXPECT_EQ(Convert("\xE2\x82"), (Units{R}));
  EXPECT_EQ(Convert("\xF0\x9F\x98"), (Units{R}));
  EXPECT_EQ(Convert("\xE1" "A"), (Units{R}));
  EXPECT_EQ(Convert("x\xF0\x9F"), (Units{0x78, R}));
}

TEST(LtpUtf8Test, TerminatedEncoding) {
  const virel::Bytes inbox = virel::ltp::Utf8ToUtf16Terminated("Inbox");
  EXPECT_EQ(inbox,
            (virel::Bytes{'I', 0, 'n', 0, 'b', 0, 'o', 0, 'x', 0, 0, 0}));
  EXPECT_EQ(virel::ltp::Utf8ToUtf16Terminated(""), (virel::Bytes{0, 0}));
  EXPECT_EQ(virel::ltp::Utf8ToUtf16Terminated("\xC3"), (virel::Bytes{0, 0}));
  EXPECT_EQ(ConvertTerminated("\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"),
            (Units{0xE9, 0x20AC, 0xD83D, 0xDE00, 0}));
  // Continuation bits are taken as they stand; overlongs are not rejected.
  EXPECT_EQ(ConvertTerminated("\xC3" "A"), (Units{0xC1, 0}));
  EXPECT_EQ(ConvertTerminated("\xC0\xAF"), (Units{0x2F, 0}));
  // A four-byte form below U+10000 yields nothing.
  EXPECT_EQ(ConvertTerminated("\xF0\x80\x81\x81" "A"), (Units{0x41, 0}));
  // Stray bytes and truncated leads are skipped one byte at a time.
  EXPECT_EQ(ConvertTerminated("\x80" "A\xFF"), (Units{0x41, 0}));
  EXPECT_EQ(ConvertTerminated("A\xE2\x82"), (Units{0x41, 0}));
  EXPECT_EQ(ConvertTerminated("\xF0\xC3\xA9"), (Units{0xE9, 0}));
}

}  // namespace
