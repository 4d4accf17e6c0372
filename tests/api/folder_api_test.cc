// The mailbox skeleton and folders, read back from the written file.
#include "api_test_util.h"
#include "virel.h"

using namespace apitest;

namespace {

constexpr uint32_t kDisplayName = 0x3001001F;
constexpr uint32_t kContainerClass = 0x3613001F;
constexpr uint32_t kContentCount = 0x36020003;
constexpr uint32_t kSubfolders = 0x360A000B;

}  // namespace

TEST(ApiFolders, EmptyWriterHasStoreRootAndDefaultFolders) {
  testutil::TempDir dir;
  const std::string path = dir.File("empty.pst");
  virel_writer* w = virel_create_writer(path.c_str());
  ASSERT_NE(w, nullptr);
  virel_destroy_writer(w);
  const vread::Mailbox box = OpenChecked(path);

  const auto store = box.properties(0x421);
  ASSERT_TRUE(store.has_value());
  EXPECT_EQ(Tags(*store),
            (std::vector<uint32_t>{0x3001001F, 0x340D0003, 0x340E0003, 0x35DF0003,
                                   0x35E00102, 0x35E10102, 0x35E20102, 0x35E30102,
                                   0x35E60102, 0x66570C00}));
  EXPECT_EQ(Value(*store, 0x3001001F), Utf16("Personal Folders"));
  EXPECT_EQ(Value(*store, 0x340D0003), Le32(0x00040003));
  EXPECT_EQ(Value(*store, 0x35DF0003), Le32(0x1F));
  EXPECT_EQ(Value(*store, 0x35E00102), EntryId(0x2442));
  EXPECT_EQ(Value(*store, 0x35E10102), EntryId(0x202));
  EXPECT_EQ(Value(*store, 0x35E20102), EntryId(0x242));
  EXPECT_EQ(Value(*store, 0x35E30102), EntryId(0x282));  // the second write
  EXPECT_EQ(Value(*store, 0x35E60102), EntryId(0x122));
  EXPECT_EQ(Value(*store, 0x66570C00), Bytes(16, 0));
  EXPECT_EQ(box.node(0x421)->parent, 0u);

  const auto root = box.properties(0x2442);
  ASSERT_TRUE(root.has_value());
  EXPECT_EQ(Tags(*root), (std::vector<uint32_t>{0x3001001F, 0x36010003,
                                                0x36020003, 0x36030003, 0x360A000B,
                                                0x3613001F}));
  EXPECT_EQ(Value(*root, kContainerClass), Utf16("IPF.Note"));
  EXPECT_EQ(Value(*root, kSubfolders), Le32(1));
  EXPECT_EQ(box.node(0x2442)->parent, 0x421u);

  const char* names[] = {"Inbox", "Outbox", "Sent Items", "Deleted Items", "Drafts"};
  const uint32_t nids[] = {0x202, 0x242, 0x282, 0x2C2, 0x302};
  for (int i = 0; i < 5; ++i) {
    const auto pc = box.properties(nids[i]);
    ASSERT_TRUE(pc.has_value()) << names[i];
    EXPECT_EQ(Value(*pc, kDisplayName), Utf16(names[i]));
    EXPECT_EQ(Value(*pc, kContentCount), Le32(0));
    EXPECT_EQ(Value(*pc, 0x10F4000B), Le32(0));
    const bool has_entry_id = i == 0 || i == 2 || i == 4;
    EXPECT_EQ(pc->find(0x3001001E) != nullptr, has_entry_id) << names[i];
    if (has_entry_id) {
      EXPECT_EQ(Value(*pc, 0x3001001E), EntryId(nids[i]));
    }
    EXPECT_EQ(pc->all().size(), has_entry_id ? 8u : 7u);
    EXPECT_EQ(box.node(nids[i])->bidSub, 0u);  // no children, no items
  }

  // The root lists the default folders; rows ascend by NID.
  const auto hierarchy = box.subnodeTable(0x2442, 0x0D);
  ASSERT_TRUE(hierarchy.has_value());
  ASSERT_EQ(hierarchy->rows().size(), 5u);
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(hierarchy->rows()[i].rowId, nids[i]);
    EXPECT_EQ(hierarchy->text(hierarchy->rows()[i], kDisplayName), names[i]);
  }
  EXPECT_FALSE(box.subnodeData(0x2442, 0x0E).has_value());

  // The name-to-ID map exists with an empty property context.
  ASSERT_NE(box.node(0x61), nullptr);
  EXPECT_EQ(box.node(0x61)->parent, 0u);
  EXPECT_TRUE(box.properties(0x61)->all().empty());

  // One folder record per folder, one content list per folder with items.
  EXPECT_TRUE(RecordBlocks(box, "CTBL").empty());
  EXPECT_TRUE(RecordBlocks(box, "LTPC").empty());
  EXPECT_EQ(box.unreferencedBlocks().size(), 6u);
}

TEST(ApiFolders, CreateFolderResolvesPathsAndReportsFailures) {
  testutil::TempDir dir;
  const std::string path = dir.File("folders.pst");
  virel_writer* w = virel_create_writer(path.c_str());
  EXPECT_EQ(virel_create_folder(w, "Inbox"), 0x202u);
  const uint64_t b = virel_create_folder(w, "Projects/B");
  const uint64_t a = virel_create_folder(w, "/Projects/");
  EXPECT_NE(a, 0u);
  EXPECT_NE(b, 0u);
  EXPECT_EQ(virel_create_folder(w, "Projects//B/"), b);
  const uint64_t lower = virel_create_folder(w, "inbox");
  EXPECT_NE(lower, 0x202u);
  const uint64_t nested = virel_create_folder(w, "Inbox/Sub");
  EXPECT_EQ(virel_create_folder(w, NULL), 0u);
  EXPECT_EQ(virel_create_folder(w, ""), 0u);
  EXPECT_EQ(virel_create_folder(w, "/"), 0u);
  EXPECT_EQ(virel_create_folder(NULL, "X"), 0u);
  virel_close(w);
  EXPECT_EQ(virel_create_folder(w, "Late"), 0u);
  virel_destroy_writer(w);

  const vread::Mailbox box = OpenChecked(path);
  for (uint64_t nid : {a, b, lower, nested}) {
    ASSERT_NE(box.node(static_cast<uint32_t>(nid)), nullptr) << nid;
    EXPECT_EQ(nid & 0x1F, 2u);
  }
  EXPECT_EQ(box.node(static_cast<uint32_t>(b))->parent, a);
  EXPECT_EQ(box.node(static_cast<uint32_t>(nested))->parent, 0x202u);

  const auto pa = box.properties(static_cast<uint32_t>(a));
  const auto pb = box.properties(static_cast<uint32_t>(b));
  EXPECT_EQ(Value(*pa, kDisplayName), Utf16("Projects"));
  EXPECT_EQ(Value(*pa, kSubfolders), Le32(1));
  EXPECT_EQ(Value(*pb, kSubfolders), Le32(0));
  EXPECT_EQ(Tags(*pb), (std::vector<uint32_t>{0x3001001F, 0x36010003, 0x36020003,
                                              0x36030003, 0x360A000B, 0x3613001F}));
  const auto sub = box.subnodeTable(static_cast<uint32_t>(a), 0x0D);
  ASSERT_TRUE(sub.has_value());
  ASSERT_EQ(sub->rows().size(), 1u);
  EXPECT_EQ(sub->rows()[0].rowId, b);
  EXPECT_EQ(sub->text(sub->rows()[0], kDisplayName), "B");
  // Default folders keep PidTagSubfolders 0 even with a child.
  EXPECT_EQ(Value(*box.properties(0x202), kSubfolders), Le32(0));
  EXPECT_TRUE(box.subnodeTable(0x202, 0x0D).has_value());
  // Folder records: root, five defaults, four created.
  EXPECT_EQ(box.unreferencedBlocks().size(), 10u);
}

TEST(ApiFolders, DestroyAfterAFailedCloseEndsTheProcess) {
  testutil::TempDir dir;
  const std::string path = dir.File("limit.pst");
  EXPECT_DEATH(
      {
        virel_writer* w = virel_create_writer(path.c_str());
        for (int i = 0; i < 300; ++i) {
          virel_create_folder(w, ("F" + std::to_string(i)).c_str());
        }
        virel_close(w);  // fails inside, returns normally
        virel_destroy_writer(w);
      },
      "");
  // The child left a file with its provisional header only.
  const vread::Mailbox box = vread::Mailbox::open(path);
  EXPECT_FALSE(box.complete());
  EXPECT_NE(box.header().state, vread::HeaderState::Final);
}
