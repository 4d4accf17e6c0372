#include <gtest/gtest.h>

#include "crc32.h"
#include "mailbox.h"
#include "sample_mailbox.h"

namespace {

using namespace testimg;

void fixPageCrc(Bytes& image, std::uint64_t ib) { put32(image, ib + 500, vread::crc32(image.data() + ib, 496)); }

void fixBlockCrc(Bytes& image, std::uint64_t ib, std::uint16_t cb) {
  put32(image, ib + ((cb + 63u) & ~63u) + 4, vread::crc32(image.data() + ib, cb));
}

const vread::BlockEntry& entryOf(const vread::Mailbox& m, std::uint64_t bid) {
  for (const auto& b : m.blocks())
    if (b.bid == bid) return b;
  throw std::runtime_error("no such block");
}

TEST(DataTree, XBlockTotalsAndChunkSizesAreChecked) {
  Sample s = buildSample();
  vread::Mailbox clean = vread::Mailbox::fromBytes(s.image);
  const vread::Item* msg = clean.item(kMessage);
  ASSERT_NE(msg, nullptr);
  const vread::BlockEntry& x = entryOf(clean, msg->attachments[0].dataBid);
  ASSERT_EQ(x.bid & 2u, 2u);  // the attachment is an XBLOCK over two chunks
  Bytes image = s.image;
  put32(image, x.ib + 4, kAttachmentSize + 1);
  fixBlockCrc(image, x.ib, x.cb);
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, x.ib + 4, "lcbTotal 10001")) << describe(m);
  EXPECT_EQ(m.violations().size(), 1u) << describe(m);

  // The same chunk twice: refused, so that repeats cannot blow a tree up.
  image = s.image;
  std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(x.ib + 8), 8,
              image.begin() + static_cast<std::ptrdiff_t>(x.ib + 16));
  fixBlockCrc(image, x.ib, x.cb);
  vread::Mailbox twice = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(twice, x.ib + 16, "appears twice in one tree")) << describe(twice);
  EXPECT_FALSE(twice.attachmentData(twice.item(kMessage)->attachments[0]).has_value());
}

TEST(Placement, AnIbFileEofFarPastTheEndIsReportedOnce) {
  Bytes image = buildSample().image;
  put64(image, 184, 0x7FFFFFFFFFFFFFC0ull);  // ibFileEof; the checksums now fail too
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, 184, "lies past the end of the file")) << describe(m);
  EXPECT_EQ(m.status(), vread::FileStatus::Invalid);
}

TEST(BlockTree, EntriesAreCheckedAgainstPlacementAndKeys) {
  Sample s = buildSample();
  vread::Mailbox clean = vread::Mailbox::fromBytes(s.image);
  ASSERT_GT(clean.bbtPages().size(), 1u);  // a root above leaf pages
  const vread::PageInfo& root = clean.bbtPages()[0];
  ASSERT_EQ(root.level, 1);

  Bytes image = s.image;
  put64(image, root.ib + 24, 0x2);  // key of the second leaf
  fixPageCrc(image, root.ib);
  vread::Mailbox keys = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(keys, root.ib + 24, "differs from its child's first key")) << describe(keys);

  image = s.image;
  const vread::BlockEntry& first = clean.blocks()[0];
  put64(image, first.entryOffset + 8, 0x6000);  // into the reserved head
  std::uint64_t leaf = first.entryOffset - first.entryOffset % 512;
  fixPageCrc(image, leaf);
  vread::Mailbox moved = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(moved, first.entryOffset + 8, "reserved head")) << describe(moved);
  EXPECT_TRUE(hasWarning(moved, first.ib, "is in the file but not in the BBT")) << describe(moved);

  image = s.image;
  std::swap_ranges(image.begin() + static_cast<std::ptrdiff_t>(leaf),
                   image.begin() + static_cast<std::ptrdiff_t>(leaf + 24),
                   image.begin() + static_cast<std::ptrdiff_t>(leaf + 24));
  fixPageCrc(image, leaf);
  vread::Mailbox order = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(order, leaf + 24, "ascending order")) << describe(order);
}

// An attachment without data is listed at offset 0 with size 0. That shape
// alone is no block in the reserved head; any other entry there is.
TEST(BlockTree, EmptyAttachmentDataTakesNoSpace) {
  SampleOptions options;
  options.emptyAttachment = true;
  Bytes image = buildSample(options).image;
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  ASSERT_TRUE(m.complete()) << describe(m);
  EXPECT_EQ(m.status(), vread::FileStatus::Complete);
  const vread::Attachment& att = m.item(kMessage)->attachments.at(0);
  EXPECT_EQ(att.size, 0u);
  EXPECT_EQ(m.attachmentData(att), Bytes{});

  const vread::BlockEntry* empty = nullptr;
  for (const auto& b : m.blocks())
    if (b.bid == att.dataBid) empty = &b;
  ASSERT_NE(empty, nullptr);
  const std::uint64_t leaf = empty->entryOffset - empty->entryOffset % 512;
  // A size, or an internal BID, makes the entry a misplaced block again.
  const std::pair<std::uint16_t, std::uint64_t> others[] = {{1, att.dataBid}, {0, att.dataBid | 2}};
  for (auto [cb, bid] : others) {
    Bytes changed = image;
    put16(changed, empty->entryOffset + 16, cb);
    put64(changed, empty->entryOffset, bid);
    fixPageCrc(changed, leaf);
    vread::Mailbox bad = vread::Mailbox::fromBytes(changed);
    EXPECT_TRUE(hasViolation(bad, empty->entryOffset + 8, "reserved head")) << "cb " << cb << "\n" << describe(bad);
  }
}

TEST(MapPages, AllocationMapPagesAreChecked) {
  Bytes image = buildSample().image;
  image[17408] &= 0xFE;  // unit 0 (the header) no longer marked
  fixPageCrc(image, 17408);
  image[17408 + 512 + 7] = 0x00;  // a PMap byte
  vread::Mailbox m = vread::Mailbox::fromBytes(image);
  EXPECT_TRUE(hasViolation(m, 17408, "reserved unit 0")) << describe(m);
  EXPECT_TRUE(hasViolation(m, 17408 + 512 + 500, "dwCRC"));
  EXPECT_TRUE(hasViolation(m, 17408 + 512 + 7, "PMap data byte"));
}

}  // namespace
