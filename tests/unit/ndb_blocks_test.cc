// Blocks, data trees, subnode lists, record payloads, B-tree pages and the
// two B-trees with their placement.
#include <stdexcept>

#include "ndb/block.h"
#include "ndb/btree_page.h"
#include "ndb/data_writer.h"
#include "ndb/encoding.h"
#include "ndb/record_blocks.h"
#include "ndb/subnode_list.h"
#include "ndb/tree_placement.h"
#include "test_util.h"

using namespace virel;
using testutil::Le16;
using testutil::Le32;
using testutil::Le64;

namespace {

// A file with the head reserved as a writer leaves it.
struct Fixture {
  testutil::TempDir dir;
  std::string path = dir.File("t.pst");
  ndb::FileStore store{path};
  ndb::BlockAllocator alloc{&store};
  ndb::NodeRegistry registry;
  ndb::DataWriter writer{&alloc, &store, &registry};
  Fixture() { store.Allocate(0x6400); }
  std::vector<uint8_t> File() { return testutil::ReadAll(path); }
};

Bytes Pattern(size_t n) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(i * 31 + 7);
  return b;
}

}  // namespace

// Every length around the 64-byte lanes, from every alignment, copied and
// in place, gives exactly the table's bytes and touches nothing past them.
TEST(NdbBlock, EncodingMatchesTableAtEveryLengthAndAlignment) {
  Bytes all(256);
  for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<uint8_t>(i);
  for (size_t offset = 0; offset < 8; ++offset) {
    for (size_t n = 0; n <= 200; ++n) {
      Bytes src(offset + n + 8);
      for (size_t i = 0; i < src.size(); ++i) src[i] = all[(i * 37 + n) % 256];
      Bytes dst(src.size(), 0xAA);
      ndb::EncodeCopy(src.data() + offset, n, dst.data() + offset);
      Bytes in_place = src;
      ndb::EncodeCopy(in_place.data() + offset, n, in_place.data() + offset);
      for (size_t i = 0; i < src.size(); ++i) {
        const bool inside = i >= offset && i < offset + n;
        ASSERT_EQ(dst[i], inside ? ndb::kEncodeTable[src[i]] : 0xAA) << offset << " " << n;
        ASSERT_EQ(in_place[i], inside ? ndb::kEncodeTable[src[i]] : src[i]);
      }
    }
  }
}

TEST(NdbBlock, SizesTrailersAndEncoding) {
  struct Case { size_t cb; size_t trailer_at; };
  for (Case c : {Case{0, 0}, Case{64, 64}, Case{100, 128}, Case{8176, 8192}}) {
    const Bytes payload = Pattern(c.cb);
    const Bytes block = ndb::BuildBlock(payload, 0x28, 0x6400, true);
    ASSERT_EQ(block.size(), c.trailer_at + 16) << c.cb;
    EXPECT_EQ(Le16(block, c.trailer_at), c.cb);
    EXPECT_EQ(Le16(block, c.trailer_at + 2), (0x6400 ^ 0x28) & 0xFFFF);
    EXPECT_EQ(Le32(block, c.trailer_at + 4),
              testutil::ReferenceCrc(payload.data(), c.cb));
    EXPECT_EQ(Le64(block, c.trailer_at + 8), 0x28u);
    for (size_t i = 0; i < c.cb; ++i) {
      ASSERT_EQ(block[i], ndb::kEncodeTable[payload[i]]);
    }
    for (size_t i = c.cb; i < c.trailer_at; ++i) ASSERT_EQ(block[i], 0);
  }
  EXPECT_EQ(ndb::BuildBlock(Bytes{}, 4, 0, false).size(), 16u);
  EXPECT_EQ(Le32(ndb::BuildBlock(Bytes{}, 4, 0, false), 4), 0u);
  // wSig keeps only the low 16 bits.
  EXPECT_EQ(ndb::BlockSignature(0x12345678, 0x0000FFFF), 0xA987);
}

TEST(NdbDataWriter, OneBlockThenXBlockAtTheLimit) {
  Fixture f;
  const uint64_t first = f.writer.WriteData(Pattern(8176), false);
  EXPECT_EQ(first, 4u);  // counter 1, external
  EXPECT_EQ(f.registry.FindBlock(first)->ib, 0x6400u);
  EXPECT_EQ(f.registry.FindBlock(first)->cb, 8176);

  const uint64_t x = f.writer.WriteData(Pattern(8177), false);
  EXPECT_EQ(x & 2, 2u);  // the XBLOCK is internal
  const auto rec = f.registry.FindBlock(x);
  ASSERT_TRUE(rec.has_value());
  const auto file = f.File();
  // The XBLOCK payload is not encoded: btype, level, two BIDs, total.
  EXPECT_EQ(file[rec->ib], 0x01);
  EXPECT_EQ(file[rec->ib + 1], 1);
  EXPECT_EQ(Le16(file, rec->ib + 2), 2);
  EXPECT_EQ(Le32(file, rec->ib + 4), 8177u);
  const uint64_t chunk2 = Le64(file, rec->ib + 16);
  EXPECT_EQ(f.registry.FindBlock(chunk2)->cb, 1);
  EXPECT_EQ(f.registry.FindBlock(Le64(file, rec->ib + 8))->cb, 8176);
  // Data chunks are encoded.
  const auto c2 = f.registry.FindBlock(chunk2);
  EXPECT_EQ(file[c2->ib], ndb::kEncodeTable[Pattern(8177)[8176]]);

  // An empty buffer is one 16-byte block.
  const uint64_t empty = f.writer.WriteData(Bytes{}, false);
  EXPECT_EQ(f.registry.FindBlock(empty)->size, 16u);
}

TEST(NdbDataWriter, XXBlockPastOneXBlock) {
  Fixture f;
  const size_t limit = 1021 * 8176;
  const uint64_t one = f.writer.WriteData(Bytes(limit, 0x5A), false);
  auto file = f.File();
  auto rec = f.registry.FindBlock(one);
  EXPECT_EQ(file[rec->ib + 1], 1);
  EXPECT_EQ(Le16(file, rec->ib + 2), 1021);

  const uint64_t xx = f.writer.WriteData(Bytes(limit + 1, 0x5A), false);
  file = f.File();
  rec = f.registry.FindBlock(xx);
  EXPECT_EQ(file[rec->ib + 1], 2);
  EXPECT_EQ(Le16(file, rec->ib + 2), 2);
  EXPECT_EQ(Le32(file, rec->ib + 4), limit + 1);
  const auto x0 = f.registry.FindBlock(Le64(file, rec->ib + 8));
  const auto x1 = f.registry.FindBlock(Le64(file, rec->ib + 16));
  EXPECT_EQ(Le16(file, x0->ib + 2), 1021);
  EXPECT_EQ(Le32(file, x0->ib + 4), 8347696u);
  EXPECT_EQ(Le16(file, x1->ib + 2), 1);
  EXPECT_EQ(Le32(file, x1->ib + 4), 1u);
}

TEST(NdbRecords, SubnodeListAndBookkeepingPayloads) {
  ndb::SubnodeListBuilder sl;
  sl.Add(0x25, 0x10, 0);
  sl.Add(0x05, 0x14, 0x16);
  sl.SortByNid();
  const Bytes b = sl.Finish();
  ASSERT_EQ(b.size(), 8u + 48);
  EXPECT_EQ(b[0], 0x02);
  EXPECT_EQ(Le16(b, 2), 2);
  EXPECT_EQ(Le64(b, 8), 0x05u);
  EXPECT_EQ(Le64(b, 24), 0x16u);
  EXPECT_EQ(Le64(b, 32), 0x25u);

  const Bytes folder = ndb::FolderRecordPayload(7, 1, "Ab", {8, 9});
  EXPECT_EQ(folder.size(), 8u + 8 + 4 + 2 + 4 + 16);
  EXPECT_EQ(Le32(folder, 16), 2u);
  EXPECT_EQ(folder[20], 'A');
  EXPECT_EQ(Le32(folder, 22), 2u);
  EXPECT_EQ(Le64(folder, 34), 9u);

  const Bytes list = ndb::ContentListPayload(3, {{0x24, 1}, {0x44, 2}});
  EXPECT_EQ(list.size(), 12u + 24);
  EXPECT_EQ(Le64(list, 24), 0x44u);
  EXPECT_EQ(Le32(list, 32), 2u);

  const Bytes index = ndb::ContentTableIndexPayload({{3, 0x6400}});
  EXPECT_EQ(std::string(index.begin(), index.begin() + 4), "CTBL");
  EXPECT_EQ(Le64(index, 16), 0x6400u);

  const ndb::RecordCells cells = {{0x1A001F, {1, 2, 3}}};
  const Bytes rows = ndb::RowBlockPayload(5, {{0x24, &cells}});
  EXPECT_EQ(std::string(rows.begin(), rows.begin() + 4), "LTPC");
  EXPECT_EQ(Le64(rows, 4), 5u);
  EXPECT_EQ(Le32(rows, 12), 1u);
  EXPECT_EQ(Le64(rows, 16), 0x24u);
  EXPECT_EQ(Le32(rows, 24), 1u);
  EXPECT_EQ(Le32(rows, 28), 0x1A001Fu);
  EXPECT_EQ(Le32(rows, 32), 3u);
  EXPECT_EQ(rows.size(), 36u + 3);
}

TEST(NdbBTreePage, EmptyLeafAndCapacity) {
  const Bytes page = ndb::BuildBTreePage({}, 24, 0, 0x80, 0x1236);
  EXPECT_EQ(page[488], 0);
  EXPECT_EQ(page[489], 20);
  EXPECT_EQ(page[490], 24);
  EXPECT_EQ(Le16(page, 498), 0x1236);
  EXPECT_EQ(Le32(page, 500), testutil::ReferenceCrc(page.data(), 496));
  EXPECT_EQ(ndb::BuildBTreePage({}, 32, 0, 0x81, 2)[489], 15);
  try {
    ndb::BuildBTreePage(Bytes(21 * 24), 24, 0, 0x80, 2);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "BTree page entries exceed data area capacity");
  }
}

TEST(NdbNodeRegistry, NidsSkipTakenValuesAndBidsShareOneCounter) {
  ndb::NodeRegistry reg;
  reg.PutNode({0x22, 0, 0, 0});  // index 1, type 2: taken
  reg.PutNode({0x42, 0, 0, 0});
  EXPECT_EQ(reg.NewNode(2, 0x2442).nid, 0x62u);
  EXPECT_EQ(reg.NewNode(4, 0x62).nid, 0x84u);
  EXPECT_EQ(reg.FindNode(0x84)->nid_parent, 0x62u);
  EXPECT_FALSE(reg.FindNode(0x99).has_value());
  EXPECT_EQ(reg.NextBid(false), 4u);
  EXPECT_EQ(reg.NextBid(true), 10u);
}

namespace {

// Places a tree and checks every page's trailer; returns the pages.
std::vector<Bytes> PlaceAndRead(Fixture& f, bool nbt, ndb::Bref* root) {
  ndb::TreeBuild tree = nbt ? f.registry.BuildNbt() : f.registry.BuildBbt();
  *root = ndb::PlaceTree(&tree, &f.store, &f.registry);
  const auto file = f.File();
  std::vector<Bytes> pages;
  for (uint64_t bid : tree.bids) {
    const uint64_t ib = f.registry.FindBlock(bid)->ib;
    Bytes page(file.begin() + ib, file.begin() + ib + 512);
    EXPECT_EQ(page[496], nbt ? 0x81 : 0x80);
    EXPECT_EQ(Le16(page, 498), (ib ^ bid) & 0xFFFF);
    EXPECT_EQ(Le32(page, 500), testutil::ReferenceCrc(page.data(), 496));
    EXPECT_EQ(Le64(page, 504), bid);
    pages.push_back(page);
  }
  return pages;
}

}  // namespace

TEST(NdbNodeTree, LeafRootBoundariesAndLimit) {
  for (size_t count : {15u, 16u, 300u}) {
    Fixture f;
    for (size_t i = 0; i < count; ++i) f.registry.NewNode(4, 0x2442);
    ndb::Bref root;
    const auto pages = PlaceAndRead(f, true, &root);
    const size_t leaves = (count + 14) / 15;
    ASSERT_EQ(pages.size(), leaves == 1 ? 1 : leaves + 1) << count;
    const Bytes& top = pages.back();
    EXPECT_EQ(root.ib, f.registry.FindBlock(root.bid)->ib);
    if (leaves == 1) {
      EXPECT_EQ(top[491], 0);
      EXPECT_EQ(top[488], count);
      continue;
    }
    EXPECT_EQ(top[491], 1);
    EXPECT_EQ(top[488], leaves);
    for (size_t k = 0; k < leaves; ++k) {
      // Each root entry: first NID of the leaf, its BID and placed offset.
      EXPECT_EQ(Le64(top, 24 * k), Le64(pages[k], 0));
      EXPECT_EQ(Le64(top, 24 * k + 8), Le64(pages[k], 504));
      EXPECT_EQ(Le64(top, 24 * k + 16),
                f.registry.FindBlock(Le64(pages[k], 504))->ib);
    }
    EXPECT_EQ(pages[leaves - 1][488], count - 15 * (leaves - 1));
  }
  Fixture f;
  for (int i = 0; i < 301; ++i) f.registry.NewNode(4, 0);
  try {
    f.registry.BuildNbt();
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "NBT too large for 2-level tree (>300 nodes). "
                           "Multi-level not yet supported.");
  }
}

TEST(NdbNodeTree, SortsNidsAsUnsigned) {
  Fixture f;
  f.registry.PutNode({0x80000000u, 0, 0, 0});
  f.registry.PutNode({0x7FFFFFFFu, 0, 0, 0});
  ndb::Bref root;
  const auto pages = PlaceAndRead(f, true, &root);
  EXPECT_EQ(Le64(pages[0], 0), 0x7FFFFFFFu);
  EXPECT_EQ(Le64(pages[0], 32), 0x80000000u);
}

TEST(NdbBlockTree, ListsBlocksAndPagesUpToTheLimit) {
  {
    Fixture f;  // an empty NBT is then the BBT's only entry
    ndb::Bref nbt, bbt;
    PlaceAndRead(f, true, &nbt);
    const auto pages = PlaceAndRead(f, false, &bbt);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0][488], 1);
    EXPECT_EQ(Le64(pages[0], 0), nbt.bid);
    EXPECT_EQ(Le64(pages[0], 8), nbt.ib);
    EXPECT_EQ(Le16(pages[0], 16), 496);
    EXPECT_EQ(Le16(pages[0], 18), 1);
  }
  for (size_t count : {20u, 21u, 400u}) {
    Fixture f;
    for (size_t i = 0; i < count; ++i) f.writer.WriteData(Bytes{1}, false);
    ndb::Bref root;
    const auto pages = PlaceAndRead(f, false, &root);
    const size_t leaves = (count + 19) / 20;
    EXPECT_EQ(pages.size(), leaves == 1 ? 1 : leaves + 1) << count;
    EXPECT_EQ(Le16(pages[0], 16), 1);  // cb of the first data block
  }
  Fixture f;
  for (int i = 0; i < 401; ++i) f.writer.WriteData(Bytes{1}, false);
  try {
    f.registry.BuildBbt();
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "BBT too large for 2-level tree (>400 blocks). "
                           "Multi-level not yet supported.");
  }
}
