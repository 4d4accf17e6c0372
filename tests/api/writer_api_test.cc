// Writer lifecycle through the public header and the shared library.
#include <cstring>
#include <filesystem>

#include "../unit/test_util.h"
#include "virel.h"

using testutil::Le16;
using testutil::Le32;
using testutil::Le64;

namespace {

// Checks the trailer of the 512-byte page at `ib`.
void ExpectPage(const std::vector<uint8_t>& f, uint64_t ib, uint8_t ptype) {
  ASSERT_LE(ib + 512, f.size());
  EXPECT_EQ(f[ib + 496], ptype) << ib;
  EXPECT_EQ(f[ib + 497], ptype) << ib;
  EXPECT_EQ(Le32(f, ib + 500), testutil::ReferenceCrc(&f[ib], 496)) << ib;
}

}  // namespace

TEST(ApiWriter, EmptyWriterClosesIntoAValidFile) {
  testutil::TempDir dir;
  const std::string path = dir.File("x/y/z.pst");
  virel_writer* w = virel_create_writer(path.c_str());
  ASSERT_NE(w, nullptr);
  // Before close: the provisional header and the reserved head only.
  auto f = testutil::ReadAll(path);
  EXPECT_EQ(f.size(), 25600u);
  EXPECT_EQ(std::memcmp(f.data(), "!BDP", 4), 0);
  EXPECT_EQ(f[248], 0);
  virel_close(w);
  f = testutil::ReadAll(path);
  ASSERT_EQ(f.size(), 262144u);

  std::vector<uint8_t> zeroed(f.begin(), f.begin() + 512);
  std::memset(&zeroed[400], 0, 4);
  EXPECT_EQ(Le32(f, 400), testutil::ReferenceCrc(zeroed.data(), 512));
  EXPECT_EQ(f[248], 1);
  EXPECT_EQ(Le64(f, 192), 0x4400u);
  const uint64_t eof = Le64(f, 184);
  EXPECT_LE(eof, f.size());

  ExpectPage(f, 0x4400, 0x84);
  ExpectPage(f, 0x4600, 0x83);
  ExpectPage(f, 0x4800, 0x82);
  ExpectPage(f, 0x4A00, 0x86);

  const uint64_t nbt_bid = Le64(f, 216), nbt_ib = Le64(f, 224);
  const uint64_t bbt_bid = Le64(f, 232), bbt_ib = Le64(f, 240);
  ExpectPage(f, nbt_ib, 0x81);
  ExpectPage(f, bbt_ib, 0x80);
  EXPECT_EQ(Le64(f, nbt_ib + 504), nbt_bid);
  EXPECT_EQ(Le16(f, nbt_ib + 498), (nbt_ib ^ nbt_bid) & 0xFFFF);
  EXPECT_EQ(Le16(f, bbt_ib + 498), (bbt_ib ^ bbt_bid) & 0xFFFF);
  EXPECT_LE(bbt_ib + 512, eof);

  // The BBT lists the NBT page as a 496-byte block.
  bool listed = false;
  for (uint8_t i = 0; i < f[bbt_ib + 488]; ++i) {
    const uint64_t e = bbt_ib + 24 * i;
    if (Le64(f, e) == nbt_bid) {
      listed = true;
      EXPECT_EQ(Le64(f, e + 8), nbt_ib);
      EXPECT_EQ(Le16(f, e + 16), 496);
      EXPECT_EQ(Le16(f, e + 18), 1);
    }
  }
  EXPECT_TRUE(listed);

  virel_close(w);  // a second close changes nothing
  EXPECT_EQ(testutil::ReadAll(path), f);
  virel_destroy_writer(w);
  EXPECT_EQ(testutil::ReadAll(path), f);
}

TEST(ApiWriter, DestroyWithoutCloseFinishesTheFile) {
  testutil::TempDir dir;
  const std::string a = dir.File("a.pst"), b = dir.File("b.pst");
  virel_writer* wa = virel_create_writer(a.c_str());
  virel_writer* wb = virel_create_writer(b.c_str());
  ASSERT_NE(wa, nullptr);
  ASSERT_NE(wb, nullptr);
  virel_close(wa);
  virel_destroy_writer(wa);
  virel_destroy_writer(wb);
  EXPECT_EQ(testutil::ReadAll(a), testutil::ReadAll(b));
}

TEST(ApiWriter, NullHandlesDefaultPathAndFailures) {
  virel_close(nullptr);
  virel_destroy_writer(nullptr);

  testutil::TempDir dir;
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  virel_writer* w = virel_create_writer(nullptr);
  std::filesystem::current_path(old);
  ASSERT_NE(w, nullptr);
  virel_destroy_writer(w);
  EXPECT_EQ(testutil::ReadAll(dir.File("out.pst")).size(), 262144u);

  // A file standing where a directory is needed: no writer.
  std::ofstream(dir.File("blocker")) << "x";
  EXPECT_EQ(virel_create_writer(dir.File("blocker/x.pst").c_str()), nullptr);
  EXPECT_EQ(virel_create_writer(dir.path().string().c_str()), nullptr);
}
