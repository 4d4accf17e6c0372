#include <gtest/gtest.h>

#include "crc32.h"
#include "mailbox.h"
#include "permutation.h"
#include "sample_mailbox.h"
#include "text.h"

namespace {

using namespace testimg;

TEST(Primitives, ChecksumPermutationAndText) {
  const std::uint8_t digits[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
  EXPECT_EQ(vread::crc32(digits, 9), 0xCBF43926u);
  EXPECT_EQ(vread::crc32(digits, 0), 0u);
  Bytes all(256);
  for (int i = 0; i < 256; ++i) all[i] = static_cast<std::uint8_t>(i);
  Bytes encoded = all;
  vread::encodePayload(encoded);
  EXPECT_EQ(encoded[0], 0x47);
  EXPECT_EQ(encoded[255], 0xEC);
  vread::decodePayload(encoded);
  EXPECT_EQ(encoded, all);
  EXPECT_EQ(vread::filetimeToIso(116444736000000000ull), "1970-01-01T00:00:00Z");
  EXPECT_EQ(vread::filetimeToIso(0), "1601-01-01T00:00:00Z");
  EXPECT_EQ(vread::utf16ToUtf8({0x3D, 0xD8, 0x00, 0xDE, 0x41, 0x00, 0x00, 0x00}), "\xF0\x9F\x98\x80" "A");
}

TEST(Corruption, HeaderBytesAreReportedAtTheirOffsets) {
  Bytes image = buildSample().image;
  image[12] ^= 0x01;   // wVerClient
  image[348] = 0x00;   // sentinel
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_FALSE(m.complete());
  EXPECT_TRUE(hasViolation(m, 12, "wVerClient")) << describe(m);
  EXPECT_TRUE(hasViolation(m, 348, "sentinel"));
  EXPECT_TRUE(hasViolation(m, 4, "dwCRCPartial"));
  EXPECT_TRUE(hasViolation(m, 400, "full header checksum"));
}

TEST(Corruption, PageAndBlockTrailersAreChecked) {
  Sample s = buildSample();
  Bytes image = s.image;
  image[s.nbtIb + 40] ^= 0xFF;  // inside the second NBT entry
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, s.nbtIb + 500, "dwCRC")) << describe(m);

  image = s.image;
  vread::Mailbox clean = vread::Mailbox::fromBytes(image);
  const vread::NodeEntry* inbox = clean.node(0x202);
  const vread::BlockEntry* block = nullptr;
  for (const auto& b : clean.blocks())
    if (b.bid == inbox->bidData) block = &b;
  ASSERT_NE(block, nullptr);
  std::uint64_t at = block->ib + ((block->cb + 63u) & ~63u);
  image[at + 2] ^= 0x10;  // wSig
  image[block->ib + 1] ^= 0x01;  // payload byte: CRC no longer matches
  vread::Mailbox bad = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(bad, at + 2, "wSig")) << describe(bad);
  EXPECT_TRUE(hasViolation(bad, at + 4, "dwCRC"));
}

TEST(Corruption, BrokenHeapMapIsReportedInsideTheBlock) {
  Sample s = buildSample();
  Bytes image = s.image;
  // Encoded byte 0 of the Inbox heap is the low byte of ibHnpm; point it elsewhere.
  Bytes plain{image[s.inboxDataIb]};
  vread::decodePayload(plain);
  Bytes moved{static_cast<std::uint8_t>(plain[0] + 2)};
  vread::encodePayload(moved);
  image[s.inboxDataIb] = moved[0];
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, s.inboxDataIb, "dwCRC") || !m.complete());
  bool heapReported = false;
  for (const auto& v : m.violations())
    heapReported |= v.message.find("node 0x202: heap") != std::string::npos && v.offset >= s.inboxDataIb &&
                    v.offset < s.inboxDataIb + 512;
  EXPECT_TRUE(heapReported) << describe(m);
}

TEST(Corruption, TableAndCountDisagreementsAreReported) {
  SampleOptions reversed;
  reversed.reverseContents = true;
  vread::Mailbox m = vread::Mailbox::fromBytes(buildSample(reversed).image);
  // The row index ranks rows by ID while the matrix holds them out of order:
  // each row ID then lands on the other item's cells.
  bool mismatch = false;
  for (const auto& v : m.violations())
    mismatch |= v.message.find("row for item 0x24 shows class \"IPM.Note.Other\"") != std::string::npos;
  EXPECT_TRUE(mismatch) << describe(m);

  SampleOptions threeMessages;
  threeMessages.recordMessages = 3;
  Sample s = buildSample(threeMessages);
  vread::Mailbox counts = vread::Mailbox::fromBytes(s.image);
  EXPECT_TRUE(hasViolation(counts, s.recordIb, "record block counts 3 messages")) << describe(counts);
}

TEST(Corruption, MissingBlocksAndOverrunsAreReported) {
  Sample s = buildSample();
  vread::Mailbox clean = vread::Mailbox::fromBytes(s.image);
  Bytes image = s.image;
  const vread::NodeEntry* n = clean.node(kEvent);
  put64(image, n->entryOffset + 8, 0x7FFC);  // data BID that no block has
  put32(image, s.nbtIb + 500, vread::crc32(image.data() + s.nbtIb, 496));
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, n->entryOffset + 8, "data BID 0x7FFC is not in the BBT")) << describe(m);

  image = s.image;
  put64(image, 184, s.recordIb);  // ibFileEof now excludes the record block
  put32(image, 400, 0);
  put32(image, 400, vread::crc32(image.data(), 512));
  vread::Mailbox cut = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(cut, s.recordIb, "record block")) << describe(cut);
}

}  // namespace

namespace {

// The PC's 8-bit file name is the terminated encoding of the caller's text,
// the table cell its platform conversion: compared only when the cell
// replaced nothing.
TEST(Corruption, AttachmentNamesAreComparedOnlyWhereTheEncodingsAgree) {
  const std::uint64_t kAttachment = 0x05;
  auto check = [&](const Bytes& name8, const Bytes& cell) {
    SampleOptions options;
    options.attachmentName8 = name8;
    options.attachmentCell = cell;
    return vread::Mailbox::fromBytes(buildSample(options).image);
  };
  // Bad UTF-8 "a\xFFb": skipped in the PC, U+FFFD in the table.
  vread::Mailbox replaced = check({'a', 0, 'b', 0, 0, 0}, {'a', 0, 0xFD, 0xFF, 'b', 0});
  EXPECT_TRUE(replaced.violations().empty()) << describe(replaced);

  vread::Mailbox differs = check({'b', 0, 0, 0}, {});
  ASSERT_EQ(differs.violations().size(), 1u) << describe(differs);
  EXPECT_NE(differs.violations()[0].message.find("attachment " + vread::hex(kAttachment) +
                                                 ": file name in its PC differs from the table"),
            std::string::npos);

  vread::Mailbox unterminated = check(u16le("a.txt"), {});
  ASSERT_EQ(unterminated.violations().size(), 1u) << describe(unterminated);
  EXPECT_NE(unterminated.violations()[0].message.find("is not terminated UTF-16"), std::string::npos);
}

}  // namespace
