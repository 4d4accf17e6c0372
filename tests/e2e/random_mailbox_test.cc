// Randomised mailboxes written through the C interface, read back by the
// reader and compared item by item; virel-inspect looks at the same files.
#include <filesystem>

#include "e2e/e2e_mailbox.h"

namespace {

using e2e::Quoted;

class RandomMailbox : public ::testing::TestWithParam<uint32_t> {};

std::string LastName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

TEST_P(RandomMailbox, ReadsBackAsWrittenAndInspectsClean) {
  testutil::TempDir dir;
  const std::string path = dir.File("random.pst");
  const e2e::Model model = e2e::WriteRandomMailbox(GetParam(), path);
  const vread::Mailbox box = apitest::OpenChecked(path);
  ASSERT_TRUE(box.complete());
  e2e::CompareWithModel(model, box);

  const std::string text = e2e::InspectClean(path, dir.File("text.out"));
  std::string json;
  EXPECT_EQ(e2e::RunInspect("--json " + Quoted(path), dir.File("json.out"), &json), 0) << json;
  ASSERT_FALSE(json.empty());
  EXPECT_EQ(json.front(), '{');
  EXPECT_EQ(json[json.find_last_not_of(" \r\n")], '}');
  for (const auto& kv : model.folders) {
    const std::string name = LastName(kv.first);
    EXPECT_NE(text.find(name + " (0x"), std::string::npos) << kv.first;
    EXPECT_NE(json.find("\"" + name + "\""), std::string::npos) << kv.first;
  }

  // Extracted files are named "<item NID>_<attachment number>_<name>".
  const std::string outDir = dir.File("extracted");
  std::string log;
  EXPECT_EQ(e2e::RunInspect("--extract-attachments " + Quoted(outDir) + " " + Quoted(path),
                            dir.File("extract.out"), &log),
            0)
      << log;
  size_t expected = 0;
  for (const auto& kv : model.items) expected += kv.second.attachments.size();
  size_t found = 0;
  for (const auto& entry : std::filesystem::directory_iterator(outDir)) {
    const std::string name = entry.path().filename().string();
    SCOPED_TRACE(name);
    size_t end = 0;
    const uint64_t nid = std::stoull(name.substr(2), &end, 16);
    const size_t number = std::stoul(name.substr(3 + end), nullptr, 10);
    const auto item = model.items.find(nid);
    ASSERT_NE(item, model.items.end());
    ASSERT_LT(number, item->second.attachments.size());
    EXPECT_TRUE(testutil::ReadAll(entry.path().string()) == item->second.attachments[number].data);
    ++found;
  }
  EXPECT_EQ(found, expected);
  EXPECT_GT(expected, 0u);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomMailbox,
                         ::testing::Values(1u, 7u, 42u, 1234u, 20240601u, 0xC0FFEEu));

}  // namespace
