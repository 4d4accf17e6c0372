// virel-inspect's command line: help, version, option values, exit codes,
// and clear messages (never a crash) for paths and files that are not
// mailboxes.
#include <filesystem>
#include <random>

#include <nlohmann/json.hpp>

#include "e2e/e2e_mailbox.h"

namespace {

using e2e::Bytes;
using e2e::Quoted;

constexpr int kOk = 0;
constexpr int kBadFile = 1;
constexpr int kUsage = 2;

class InspectCli : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.File("m.pst");
    e2e::WriteRandomMailbox(7, path_);
  }
  int Run(const std::string& args, std::string* out) { return e2e::RunInspect(args, dir_.File("out.txt"), out); }
  std::string File(const std::string& name) const { return dir_.File(name); }
  static void WriteBytes(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                 static_cast<std::streamsize>(bytes.size()));
  }

  testutil::TempDir dir_;
  std::string path_;
};

TEST_F(InspectCli, HelpVersionAndUsageErrors) {
  std::string out;
  EXPECT_EQ(Run("--help", &out), kOk);
  EXPECT_NE(out.find("Exit status"), std::string::npos) << out;
  EXPECT_EQ(Run("-h", &out), kOk);
  EXPECT_EQ(Run("--version", &out), kOk);
  EXPECT_EQ(out, std::string("virel-inspect ") + VIREL_VERSION + "\n");

  const std::string file = " " + Quoted(path_);
  for (const std::string& bad : {std::string(), "--bogus" + file, std::string("--props"), "--props 0x" + file,
                                 "--props 12z" + file, "--props -1" + file, "--props 0x100000000" + file}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(Run(bad, &out), kUsage) << out;
    EXPECT_EQ(out.rfind("virel-inspect: ", 0), 0u) << out;
  }
  EXPECT_EQ(Run(Quoted(path_) + " " + Quoted(path_), &out), kUsage);
}

TEST_F(InspectCli, PropsTakesDecimalOrHexNeverOctalAndPrintsJson) {
  // The Inbox, 0x202: 0514 is decimal 514 too, where octal would be 0x14C.
  std::string hex, decimal, leadingZero;
  EXPECT_EQ(Run("--props 0x202 " + Quoted(path_), &hex), kOk) << hex;
  EXPECT_EQ(Run("--props 514 " + Quoted(path_), &decimal), kOk);
  EXPECT_EQ(Run("--props 0514 " + Quoted(path_), &leadingZero), kOk);
  EXPECT_EQ(hex.rfind("node 0x202:", 0), 0u) << hex;
  EXPECT_EQ(hex, decimal);
  EXPECT_EQ(hex, leadingZero);

  std::string json;
  EXPECT_EQ(Run("--json --props 0x202 " + Quoted(path_), &json), kOk);
  nlohmann::json j;
  ASSERT_NO_THROW(j = nlohmann::json::parse(json)) << json;
  EXPECT_EQ(j["nid"], "0x202");
  EXPECT_EQ(j["context"]["kind"], "property context");
}

TEST_F(InspectCli, ExtractionReportsWhatItWroteAndKeepsExistingFiles) {
  const std::string out = File("att");
  std::string log;
  ASSERT_EQ(Run("--extract-attachments " + Quoted(out) + " " + Quoted(path_), &log), kOk) << log;
  const size_t wrote = static_cast<size_t>(std::count_if(
      std::filesystem::directory_iterator(out), {}, [](const auto&) { return true; }));
  ASSERT_GT(wrote, 0u);
  EXPECT_NE(log.find("extracted " + std::to_string(wrote) + " of " + std::to_string(wrote)), std::string::npos)
      << log;

  const std::filesystem::path first = std::filesystem::directory_iterator(out)->path();
  WriteBytes(first.string(), {'k', 'e', 'e', 'p'});
  EXPECT_EQ(Run("-x " + Quoted(out) + " " + Quoted(path_), &log), kUsage);
  EXPECT_NE(log.find("refusing to overwrite"), std::string::npos) << log;
  EXPECT_TRUE(testutil::ReadAll(first.string()) == (Bytes{'k', 'e', 'e', 'p'}));
  EXPECT_EQ(Run("--force -x " + Quoted(out) + " " + Quoted(path_), &log), kOk) << log;
  EXPECT_NE(testutil::ReadAll(first.string()).size(), 4u);
}

// Paths that are no file, and files that are no mailbox: a clear message,
// the documented exit code, and with --json a document every parser takes.
TEST_F(InspectCli, BadPathsAndBadFilesGiveDocumentedExitCodes) {
  std::string out;
  // No trailing separator: on Windows "dir\" would escape the quote.
  const std::string directory = File("adir");
  std::filesystem::create_directory(directory);
  EXPECT_EQ(Run(Quoted(directory), &out), kUsage);
  EXPECT_NE(out.find("is a directory"), std::string::npos) << out;
  EXPECT_EQ(Run(Quoted(File("missing.pst")), &out), kUsage);
  EXPECT_NE(out.find("cannot open"), std::string::npos) << out;
#ifndef _WIN32
  EXPECT_EQ(Run("/dev/zero", &out), kUsage);  // would never end
  EXPECT_NE(out.find("not a regular file"), std::string::npos) << out;
#endif

  const Bytes good = testutil::ReadAll(path_);
  std::mt19937 rng(11);
  std::vector<std::pair<std::string, Bytes>> files = {{"empty", {}}, {"truncated", Bytes(good.begin(), good.begin() + 40000)}};
  Bytes noise(70000);
  for (auto& b : noise) b = static_cast<uint8_t>(rng());
  noise[0] = 0xC3;  // not UTF-8 where the magic is shown
  files.emplace_back("random", noise);
  for (int i = 0; i < 6; ++i) {
    Bytes flipped = good;
    for (int k = 0; k < 8; ++k) flipped[rng() % 70000] ^= static_cast<uint8_t>(1 + rng() % 255);
    files.emplace_back("flipped " + std::to_string(i), flipped);
  }
  for (const auto& [what, bytes] : files) {
    SCOPED_TRACE(what);
    const std::string path = File("bad.pst");
    WriteBytes(path, bytes);
    const int text = Run(Quoted(path), &out);
    EXPECT_TRUE(text == kOk || text == kBadFile) << text << "\n" << out;
    EXPECT_NE(out.find("Status:    "), std::string::npos) << out;
    EXPECT_EQ(Run("--json " + Quoted(path), &out), text);
    nlohmann::json j;
    ASSERT_NO_THROW(j = nlohmann::json::parse(out)) << out;
    EXPECT_EQ(j["status"] == "complete" || j["status"] == "complete, with warnings", text == kOk);
  }
}

}  // namespace
