// The node and block limits: a close within them completes the file, a close
// past them leaves the provisional header behind.
#include <cstdlib>

#include "e2e/e2e_mailbox.h"

namespace {

// A fresh writer with `folders` empty folders and `messages` messages in
// Inbox, closed but not destroyed.
virel_writer* FillAndClose(const std::string& path, int messages, int folders) {
  virel_writer* w = virel_create_writer(path.c_str());
  for (int i = 0; i < folders; ++i) virel_create_folder(w, ("Ordner " + std::to_string(i)).c_str());
  for (int i = 0; i < messages; ++i) virel_add_message_simple(w, "Inbox", "Über", "body text");
  virel_close(w);
  return w;
}

// For a child process: a failed writer must outlive the process.
void FillCloseAndExit(const std::string& path, int messages, int folders) {
  FillAndClose(path, messages, folders);
  std::_Exit(0);
}

void ExpectProvisional(const std::string& path, const std::string& capture) {
  const vread::Mailbox box = vread::Mailbox::open(path);
  EXPECT_EQ(box.loadError(), "");
  EXPECT_EQ(box.header().state, vread::HeaderState::Provisional);
  EXPECT_EQ(box.header().magic, "!BDP");
  EXPECT_FALSE(box.complete());
  EXPECT_TRUE(box.nodes().empty());
  EXPECT_TRUE(box.violations().empty());
  std::string out;
  EXPECT_EQ(e2e::RunInspect(e2e::Quoted(path), capture, &out), 1) << out;
  EXPECT_NE(out.find("Violations: 0\n"), std::string::npos) << out;
  EXPECT_NE(out.find("Status:    provisional (incomplete: the writer never completed"), std::string::npos) << out;
}

TEST(E2eLimits, NodeLimitAllowsExactlyThreeHundredNodes) {
  testutil::TempDir dir;
  // Seven nodes of a new writer, 292 messages and the name-to-ID map.
  const std::string full = dir.File("full.pst");
  virel_destroy_writer(FillAndClose(full, 292, 0));
  const vread::Mailbox box = apitest::OpenChecked(full);
  EXPECT_EQ(box.nodes().size(), 300u);
  ASSERT_NE(box.folder(0x202), nullptr);
  EXPECT_EQ(box.folder(0x202)->items.size(), 292u);
  EXPECT_EQ(box.folder(0x202)->contentCount, std::optional<uint32_t>(292));
  ASSERT_TRUE(box.recordBlock().has_value());
  EXPECT_EQ(box.recordBlock()->messages, 292u);
  e2e::InspectClean(full, dir.File("full.out"));

  const std::string over = dir.File("over.pst");
  EXPECT_EXIT(FillCloseAndExit(over, 293, 0), ::testing::ExitedWithCode(0), "");
  ExpectProvisional(over, dir.File("over.out"));
}

TEST(E2eLimits, BlockLimitLeavesTheFileProvisional) {
  testutil::TempDir dir;
  // 258 nodes, but every folder writes at least two blocks at close.
  const std::string path = dir.File("folders.pst");
  EXPECT_EXIT(FillCloseAndExit(path, 0, 250), ::testing::ExitedWithCode(0), "");
  ExpectProvisional(path, dir.File("folders.out"));
}

TEST(E2eLimits, DestroyingAWriterWhoseCloseFailedEndsTheProcess) {
  testutil::TempDir dir;
  const std::string path = dir.File("over.pst");
  EXPECT_DEATH(virel_destroy_writer(FillAndClose(path, 293, 0)), "");
  ExpectProvisional(path, dir.File("over.out"));
}

}  // namespace
