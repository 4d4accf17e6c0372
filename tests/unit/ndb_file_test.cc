// File store, header, checksum, unit bitmap and allocation-map pages.
#include <cstring>
#include <set>
#include <stdexcept>

#include "core/errors.h"
#include "core/stats.h"
#include "ndb/block_allocator.h"
#include "ndb/crc32.h"
#include "ndb/encoding.h"
#include "ndb/file_store.h"
#include "ndb/header.h"
#include "ndb/io_hook.h"
#include "ndb/map_pages.h"
#include "test_util.h"

using namespace virel;
using testutil::Le16;
using testutil::Le32;
using testutil::Le64;

TEST(NdbChecksum, MatchesStandardCrc32) {
  EXPECT_EQ(ndb::Crc32("123456789", 9), 0xCBF43926u);
  EXPECT_EQ(ndb::Crc32("", 0), 0u);
  std::vector<uint8_t> data(9000);
  for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 7 + 3 + (i >> 8));
  // Lengths and misaligned starts through the 16-byte, tail and (where the
  // processor has it) carry-less-multiply paths, and the table code alone.
  for (size_t n = 0; n <= 300; ++n) {
    const size_t at = n % 13;
    const uint32_t expected = testutil::ReferenceCrc(data.data() + at, n);
    ASSERT_EQ(ndb::Crc32(data.data() + at, n), expected) << n;
    ASSERT_EQ(ndb::Crc32Portable(data.data() + at, n), expected) << n;
  }
  for (size_t n : {496, 1000, 8176, 9000}) {
    EXPECT_EQ(ndb::Crc32(data.data(), n), testutil::ReferenceCrc(data.data(), n)) << n;
  }
  // A start value continues an earlier checksum.
  EXPECT_EQ(ndb::Crc32(data.data() + 10, 990, ndb::Crc32(data.data(), 10)),
            ndb::Crc32(data.data(), 1000));
}

TEST(NdbEncoding, TableIsAPermutationStartingWithKnownBytes) {
  std::set<uint8_t> seen(std::begin(ndb::kEncodeTable), std::end(ndb::kEncodeTable));
  EXPECT_EQ(seen.size(), 256u);
  EXPECT_EQ(ndb::kEncodeTable[0], 0x47);
  EXPECT_EQ(ndb::kEncodeTable[1], 0xF1);
  EXPECT_EQ(ndb::kEncodeTable[2], 0xB4);
  EXPECT_EQ(ndb::kEncodeTable[3], 0xE6);
}

TEST(NdbHeader, FieldsAndChecksums) {
  ndb::HeaderRoot root;
  root.file_eof = 0x12345;
  root.amap_last = 0x4400;
  root.nbt = {0x1A, 0x6600};
  root.bbt = {0x1E, 0x6800};
  root.amap_valid = true;
  const Bytes fresh = ndb::BuildHeader(ndb::FormatFlag("!BDP"));
  Bytes h = fresh;
  ndb::FillHeaderRoot(&h, root);
  ASSERT_EQ(h.size(), 512u);
  EXPECT_EQ(std::string(h.begin(), h.begin() + 4), "!BDP");
  EXPECT_EQ(h[8], 0x4D);
  EXPECT_EQ(h[9], 0x53);
  EXPECT_EQ(Le16(h, 10), 23);
  EXPECT_EQ(Le16(h, 12), 19);
  EXPECT_EQ(Le64(h, 32), 512u);
  EXPECT_EQ(Le32(h, 44), 0x21u);
  EXPECT_EQ(Le32(h, 44 + 14 * 4), 0x442u);
  EXPECT_EQ(Le32(h, 44 + 15 * 4), 0u);
  EXPECT_EQ(Le64(h, 184), 0x12345u);
  EXPECT_EQ(Le64(h, 224), 0x6600u);
  EXPECT_EQ(Le64(h, 232), 0x1Eu);
  EXPECT_EQ(h[248], 1);
  EXPECT_EQ(h[348], 0x80);
  EXPECT_EQ(h[349], 1);
  // The fresh header's partial checksum sees a zero full-checksum field;
  // the filled one's sees the fresh header's full checksum still in place.
  Bytes zeroed = fresh;
  std::memset(&zeroed[400], 0, 4);
  EXPECT_EQ(Le32(fresh, 4), testutil::ReferenceCrc(zeroed.data() + 8, 471));
  EXPECT_EQ(Le32(fresh, 400), testutil::ReferenceCrc(zeroed.data(), 512));
  Bytes before_full = h;
  std::memcpy(&before_full[400], &fresh[400], 4);
  EXPECT_EQ(Le32(h, 4), testutil::ReferenceCrc(before_full.data() + 8, 471));
  zeroed = h;
  std::memset(&zeroed[400], 0, 4);
  EXPECT_EQ(Le32(h, 400), testutil::ReferenceCrc(zeroed.data(), 512));

  const Bytes n = ndb::BuildHeader(ndb::FormatFlag("!BDX"));
  EXPECT_EQ(std::string(n.begin(), n.begin() + 4), "!BDN");
  EXPECT_EQ(Le16(n, 10), 15);
  EXPECT_EQ(n[248], 0);
}

TEST(NdbUnitBitmap, MarksTouchedUnitsAndGrows) {
  ndb::UnitBitmap bits;
  EXPECT_EQ(bits.bytes().size(), 1u);
  bits.Mark(0x6400, 144);
  EXPECT_TRUE(bits.IsSet(50));
  EXPECT_FALSE(bits.IsSet(51));
  EXPECT_EQ(bits.used(), 1u);
  EXPECT_EQ(bits.bytes().size(), 6u + 64u);  // byte index 6 + 64
  bits.Mark(0x6400, 600);
  EXPECT_TRUE(bits.IsSet(51));
  EXPECT_EQ(bits.used(), 2u);
  bits.Mark(1024, 0);  // aligned empty range marks nothing
  EXPECT_EQ(bits.used(), 2u);
  bits.Mark(512 * 8 * 200, 1);  // past the end: doubles or jumps ahead
  EXPECT_EQ(bits.bytes().size(), 264u);
}

TEST(NdbMapPages, LayoutAndAMapPageBoundary) {
  ndb::UnitBitmap bits;
  bits.Mark(495 * 8 * 512, 1);  // last set bit in byte 495
  Bytes pages = ndb::BuildMapPages(bits, 0x4400);
  ASSERT_EQ(pages.size(), 4u * 512);
  const uint8_t types[] = {0x84, 0x83, 0x82, 0x86};
  for (size_t k = 0; k < 4; ++k) {
    const size_t at = k * 512;
    EXPECT_EQ(pages[at + 496], types[k]);
    EXPECT_EQ(pages[at + 497], types[k]);
    EXPECT_EQ(Le16(pages, at + 498), 0);
    EXPECT_EQ(Le32(pages, at + 500), testutil::ReferenceCrc(&pages[at], 496));
    EXPECT_EQ(Le64(pages, at + 504), 0x4400u + at);
  }
  EXPECT_EQ(pages[495], 0x01);
  EXPECT_EQ(pages[512], 0xFF);
  EXPECT_EQ(pages[3 * 512 + 1], 1);
  EXPECT_EQ(Le32(pages, 3 * 512 + 4), 0x4400u);

  bits.Mark(496 * 8 * 512, 1);  // byte 496 needs a second AMap page
  pages = ndb::BuildMapPages(bits, 0x4400);
  ASSERT_EQ(pages.size(), 5u * 512);
  EXPECT_EQ(pages[4 * 512 + 496], 0x84);
  EXPECT_EQ(pages[4 * 512], 0x01);
  EXPECT_EQ(Le64(pages, 4 * 512 + 504), 0x4400u + 4 * 512);
}

TEST(NdbFileStore, CreatesDirectoriesTracksEndAndFailsWhenClosed) {
  testutil::TempDir dir;
  const std::string path = dir.File("out//sub/x.pst");
  ndb::FileStore store(path);
  EXPECT_TRUE(std::filesystem::is_directory(dir.path() / "out" / "sub"));
  EXPECT_EQ(ndb::ParentDirectory("out//x.pst"), "out");
  EXPECT_EQ(ndb::ParentDirectory("x.pst"), "");
  EXPECT_EQ(ndb::ParentDirectory("a\\b\\x.pst"), "a\\b");

  store.WriteHeader("!BDP");
  EXPECT_EQ(store.end(), 512u);
  EXPECT_EQ(store.Allocate(100), 512u);
  EXPECT_EQ(store.end(), 612u);
  store.WriteAt(700, "ab", 2);  // beyond the end raises it
  EXPECT_EQ(store.end(), 702u);
  store.WriteAt(10, "cd", 2);  // inside never lowers it
  EXPECT_EQ(store.end(), 702u);
  store.AppendPending(Bytes{1, 2, 3});
  store.FlushPending();
  EXPECT_EQ(store.end(), 705u);
  store.PadTo(2000);
  EXPECT_EQ(store.end(), 2000u);
  store.PadTo(10);
  store.Close();
  store.Close();  // closing twice is harmless
  EXPECT_EQ(testutil::ReadAll(path).size(), 2000u);
  store.PadTo(5000);  // silently nothing once closed

  try {
    store.WriteAt(0, "x", 1);
    FAIL() << "write on a closed store must throw";
  } catch (const FileIOException& e) {
    EXPECT_EQ(std::string(e.what()),
              "Virel Error: File I/O failed during write at on '" + path +
                  "': file not open");
  }
  EXPECT_THROW(store.Allocate(1), FileIOException);
  EXPECT_THROW(store.WriteHeader("!BDP"), FileIOException);
  EXPECT_THROW(store.FlushPending(), FileIOException);
}

// Counts the writes that reach the stream and can fail the next one.
class WriteCounter : public ndb::IoHook {
 public:
  ndb::IoFault Before(const ndb::IoRequest& r) override {
    if (r.op != ndb::IoOp::kWrite) return {};
    ++writes;
    bytes += r.size;
    if (!fail_next) return {};
    fail_next = false;
    return {true, 0, "no space"};
  }
  int writes = 0;
  uint64_t bytes = 0;
  bool fail_next = false;
};

TEST(NdbFileStore, AllocatedSpaceIsWrittenOnceAndNeverLeftAsAHole) {
  testutil::TempDir dir;
  const std::string path = dir.File("z.pst");
  WriteCounter hook;
  ndb::SetIoHook(&hook);
  {
    ndb::FileStore store(path);
    store.WriteHeader("!BDP");
    const uint64_t a = store.Allocate(64);
    const uint64_t b = store.Allocate(64);
    hook.writes = 0;
    hook.bytes = 0;
    store.WriteAt(a, "AAAA", 4);  // covers the head of the zeros owed
    EXPECT_EQ(hook.writes, 1);
    EXPECT_EQ(hook.bytes, 4u);
    store.WriteAt(b, "BB", 2);  // the zeros owed before it go first
    EXPECT_EQ(hook.bytes, 4u + 60u + 2u);
    EXPECT_EQ(testutil::ReadAll(path).size(), b + 2);

    const uint64_t c = store.Allocate(32);
    hook.fail_next = true;
    EXPECT_THROW(store.WriteAt(c, "CC", 2), FileIOException);
    store.FlushZeros();  // the failed write's space still reaches the disk
    EXPECT_EQ(testutil::ReadAll(path).size(), c + 32);
    store.Allocate(16);
    store.WriteAt(0, "H", 1);  // inside the file: owes nothing
    store.Close();
    EXPECT_EQ(store.end(), c + 48);
  }
  ndb::SetIoHook(nullptr);
  const std::vector<uint8_t> bytes = testutil::ReadAll(path);
  ASSERT_EQ(bytes.size(), 512u + 64 + 64 + 32 + 16);
  EXPECT_EQ(bytes[0], 'H');
  EXPECT_EQ(std::string(bytes.begin() + 512, bytes.begin() + 516), "AAAA");
  EXPECT_EQ(std::string(bytes.begin() + 576, bytes.begin() + 578), "BB");
  for (size_t i = 516; i < bytes.size(); ++i) {
    if (i == 576 || i == 577) continue;
    ASSERT_EQ(bytes[i], 0) << "at " << i;
  }
}

TEST(NdbFileStore, DirectoryCreationFailureCarriesSystemText) {
  testutil::TempDir dir;
  const std::string blocker = dir.File("plain_file");
  std::ofstream(blocker) << "x";
  try {
    ndb::FileStore store(blocker + "/sub/x.pst");
    FAIL() << "a file in the way of a directory must fail";
  } catch (const FileIOException& e) {
    const std::string what = e.what();
    EXPECT_NE(what.find("directory creation on '" + blocker + "/sub'"),
              std::string::npos) << what;
    EXPECT_GT(what.size(), what.find("': ") + 3) << "system text missing";
  }
}

TEST(NdbBlockAllocator, AllocatesAlignedSpaceReusesAndRecordsStats) {
  testutil::TempDir dir;
  ndb::FileStore store(dir.File("a.pst"));
  store.Allocate(0x6400);
  ndb::BlockAllocator alloc(&store);
  Stats::Instance().Reset();
  const uint64_t h1 = alloc.Allocate(144, 8);
  const uint64_t h2 = alloc.Allocate(80, 8);
  EXPECT_EQ(h1, 1u);
  EXPECT_EQ(h2, 2u);
  EXPECT_EQ(alloc.OffsetOf(h1), 0x6400u);
  EXPECT_EQ(alloc.OffsetOf(h2), 0x6400u + 144);
  EXPECT_EQ(alloc.OffsetOf(99), 0u);
  EXPECT_TRUE(alloc.bitmap().IsSet(50));

  store.Allocate(3);  // misalign the end: the next allocation pads
  const uint64_t h3 = alloc.Allocate(16, 8);
  EXPECT_EQ(alloc.OffsetOf(h3) % 8, 0u);

  alloc.Release(h1);
  EXPECT_EQ(alloc.OffsetOf(h1), 0u);
  EXPECT_EQ(alloc.Allocate(100, 8), h1);  // reused, not split
  EXPECT_EQ(alloc.OffsetOf(h1), 0x6400u);
  EXPECT_EQ(Stats::Instance().Values("block_reuse").count, 1u);
  EXPECT_EQ(Stats::Instance().Values("block_new_allocation").count, 3u);
  EXPECT_EQ(Stats::Instance().Values("block_allocate").recent,
            (std::vector<double>{144, 80, 16}));
  EXPECT_EQ(Stats::Instance().Durations("block_allocate").count, 4u);

  // Among free records the latest that fits is taken; a smaller or
  // misaligned one is passed over and stays free.
  alloc.Release(h1);
  alloc.Release(h2);
  alloc.Release(h3);
  EXPECT_EQ(alloc.Allocate(90, 8), h1);  // h3 and h2 are too small
  EXPECT_EQ(alloc.Allocate(80, 8), h2);
  EXPECT_EQ(alloc.Allocate(8, 8), h3);
  EXPECT_EQ(alloc.Allocate(8, 8), 4u);  // nothing free is left

  try {
    alloc.Allocate(0, 8);
    FAIL();
  } catch (const std::invalid_argument& e) {
    EXPECT_STREQ(e.what(), "allocate: size must be > 0");
  }
  EXPECT_TRUE(Stats::Instance().TimerRunning("block_allocate"));
}
