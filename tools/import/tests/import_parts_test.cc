// The importer's parts that need no writer: mbox splitting and quoting,
// folder names, output paths and finding the inputs.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "folder_names.h"
#include "input_scan.h"
#include "mbox_file.h"
#include "output_paths.h"
#include "unit/test_util.h"

namespace vimport {
namespace {

namespace fs = std::filesystem;

void Write(const fs::path& path, const std::string& text) {
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

TEST(MboxFile, SplitsAtSeparatorsAndUnquotes) {
  const std::string mbox =
      "From a@example.org Mon Jan  1 10:00:00 2024\n"
      "Subject: one\n\nbody\n>From here\n>>From there\nFrom: not a separator\n\n"
      "From b@example.org Tue Jan  2 11:00:00 2024\r\n"
      "Subject: two\r\n\r\nFrom the text after a blank line, no time\r\n\r\n"
      "From c@example.org Wed Jan  3 12:00:00 2024\n"
      "Subject: three\n\ntruncated";
  const std::vector<std::string> m = SplitMbox(mbox);
  ASSERT_EQ(m.size(), 4u);  // a "From " line after a blank line separates
  EXPECT_EQ(m[0],
            "Subject: one\n\nbody\nFrom here\n>From there\nFrom: not a separator\n");
  EXPECT_EQ(m[1], "Subject: two\r\n");  // the blank line before "From " goes
  EXPECT_EQ(m[3], "Subject: three\n\ntruncated");
  EXPECT_TRUE(SplitMbox("").empty());
  EXPECT_TRUE(SplitMbox("no separator\n").empty());
}

TEST(MboxFile, EntriesRoundTrip) {
  const std::vector<std::string> raws = {
      "Subject: a\n\nFrom the start\n>From quoted\nend\n",
      "Subject: b\n\nno newline at the end",
      "From a line that opens the message\n",
  };
  std::string mbox;
  for (const std::string& raw : raws) mbox += ToMboxEntry(raw);
  ASSERT_TRUE(LooksLikeMbox(mbox));
  const std::vector<std::string> back = SplitMbox(mbox);
  ASSERT_EQ(back.size(), raws.size());
  EXPECT_EQ(back[0], raws[0]);
  EXPECT_EQ(back[1], raws[1] + "\n");
  EXPECT_EQ(back[2], raws[2]);
}

TEST(FolderNames, DefaultFoldersAndNesting) {
  EXPECT_EQ(MailFolderName("INBOX"), "Inbox");
  EXPECT_EQ(MailFolderName("inbox.mbox"), "Inbox");
  EXPECT_EQ(MailFolderName("Sent"), "Sent Items");
  EXPECT_EQ(MailFolderName("Sent Messages"), "Sent Items");
  EXPECT_EQ(MailFolderName("Trash"), "Deleted Items");
  EXPECT_EQ(MailFolderName("Drafts"), "Drafts");
  EXPECT_EQ(MailFolderName("Unsent Messages"), "Outbox");
  EXPECT_EQ(MailFolderName("Projects.mbx"), "Projects");
  EXPECT_EQ(MailFolderName("a/b"), "a_b");
  EXPECT_EQ(JoinFolder("", "A"), "A");
  EXPECT_EQ(JoinFolder("A", "B"), "A/B");
  EXPECT_EQ(JoinFolder("A", ""), "A");
}

TEST(OutputPaths, SeriesAndSiblings) {
  EXPECT_EQ(SeriesPath("out/mail.pst", 1), "out/mail.pst");
  EXPECT_EQ(SeriesPath("out/mail.pst", 3), "out/mail-3.pst");
  EXPECT_EQ(SeriesPath("out.d/mail", 2), "out.d/mail-2");
  EXPECT_EQ(SeriesPath(".pst", 2), ".pst-2");
  EXPECT_EQ(SiblingPath("out/mail.pst", ".rejected.mbox"), "out/mail.rejected.mbox");
  EXPECT_EQ(SiblingPath("out.d/mail", ".rejected.ics"), "out.d/mail.rejected.ics");
}

TEST(InputScan, SniffsContent) {
  EXPECT_EQ(SniffContent("From x Mon Jan  1 00:00:00 2024\n"), ContentKind::kMbox);
  EXPECT_EQ(SniffContent("\xEF\xBB\xBF\r\nbegin:VCALENDAR\r\n"), ContentKind::kCalendar);
  EXPECT_EQ(SniffContent("Return-Path: <a@b>\n"), ContentKind::kMessage);
  EXPECT_EQ(SniffContent("\x89PNG\r\n"), ContentKind::kUnknown);
  EXPECT_EQ(SniffContent("no colon in this line\n"), ContentKind::kUnknown);
  EXPECT_EQ(SniffContent(""), ContentKind::kUnknown);
}

TEST(InputScan, FindsEveryKindOfMailStore) {
  testutil::TempDir dir;
  const fs::path root = dir.path() / "Local Folders";
  const std::string mbox = "From a Mon Jan  1 00:00:00 2024\nSubject: x\n\n";
  const std::string eml = "Subject: y\n\nbody\n";
  Write(root / "Inbox", mbox);
  Write(root / "Inbox.msf", "// index\n");
  Write(root / "Sent", mbox);
  Write(root / "Archive", "");  // Thunderbird: empty mbox beside its .sbd
  Write(root / "Archive.sbd" / "2023", mbox);
  Write(root / "Maildir" / "cur" / "1", eml);
  Write(root / "Maildir" / "new" / "2", eml);
  Write(root / "Maildir" / ".Lists.Dev" / "cur" / "3", eml);
  Write(root / "loose.eml", eml);
  Write(root / "notes" / "n.eml", eml);
  Write(root / "cal.ics", "BEGIN:VCALENDAR\r\nEND:VCALENDAR\r\n");

  const ScanResult r = ScanInputs({root.string(), (dir.path() / "missing").string()});
  std::vector<std::pair<std::string, std::string>> found;
  for (const Source& s : r.sources) {
    found.emplace_back(fs::path(s.path).lexically_relative(root).string(), s.folder);
  }
  const std::vector<std::pair<std::string, std::string>> expected = {
      {"Archive", "Archive"},         {"Archive.sbd/2023", "Archive/2023"},
      {"Inbox", "Inbox"},             {"Maildir/new/2", "Maildir"},
      {"Maildir/cur/1", "Maildir"},   {"Maildir/.Lists.Dev/cur/3", "Maildir/Lists/Dev"},
      {"Sent", "Sent Items"},         {"cal.ics", ""},
      {"loose.eml", "Local Folders"}, {"notes/n.eml", "notes"},
  };
  EXPECT_EQ(found, expected);
  EXPECT_EQ(r.sources[7].kind, SourceKind::kCalendar);
  ASSERT_EQ(r.skipped.size(), 1u);
  EXPECT_NE(r.skipped[0].find("Inbox.msf"), std::string::npos);
  ASSERT_EQ(r.errors.size(), 1u);
  EXPECT_NE(r.errors[0].find("missing"), std::string::npos);
}

TEST(InputScan, DirectoryOfMessagesIsAFolderTree) {
  testutil::TempDir dir;
  const fs::path root = dir.path() / "saved";
  Write(root / "a.eml", "From: x@example.org\n\nhi\n");
  Write(root / "Work" / "b.eml", "Subject: b\n\n");
  Write(root / "Work" / "c.bin", "\x01\x02");
  Write(dir.path() / "single.eml", "Subject: s\n\n");
  const ScanResult r =
      ScanInputs({root.string() + "/", (dir.path() / "single.eml").string()});
  ASSERT_EQ(r.sources.size(), 3u);
  EXPECT_EQ(r.sources[0].folder, "saved/Work");  // "Work" sorts before "a.eml"
  EXPECT_EQ(r.sources[1].folder, "saved");
  EXPECT_EQ(r.sources[2].folder, "Inbox");
  EXPECT_EQ(r.skipped.size(), 1u);
  EXPECT_TRUE(r.errors.empty());
}

}  // namespace
}  // namespace vimport
