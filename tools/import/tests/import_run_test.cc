// virel-import as a user runs it: the command line, the sample mail set,
// a generated mbox of thousands of messages, and hostile inputs. Every
// output file must be complete and every item accounted for exactly once.
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <sstream>

#include "mailbox.h"
#include "mbox_file.h"
#include "unit/test_util.h"

namespace vimport {
namespace {

using nlohmann::json;
namespace fs = std::filesystem;

#ifndef VIREL_IMPORT_TEST_MESSAGES
#define VIREL_IMPORT_TEST_MESSAGES 5000
#endif

struct RunResult {
  int exit_code = -1;
  std::string out;
  std::string err;
};

std::string Quote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

std::string ReadText(const fs::path& p) {
  std::ifstream in(p, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

RunResult Import(const testutil::TempDir& dir, const std::vector<std::string>& args) {
  std::string cmd = VIREL_IMPORT_EXE;
  for (const std::string& a : args) cmd += " " + Quote(a);
  cmd += " >" + Quote(dir.File("stdout")) + " 2>" + Quote(dir.File("stderr"));
  const int status = std::system(cmd.c_str());
  RunResult r;
  r.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.out = ReadText(dir.File("stdout"));
  r.err = ReadText(dir.File("stderr"));
  return r;
}

std::string Base64Lines(const std::string& data) {
  gchar* b64 = g_base64_encode(reinterpret_cast<const guchar*>(data.data()), data.size());
  const std::string flat(b64);
  g_free(b64);
  std::string out;
  for (size_t i = 0; i < flat.size(); i += 76) out += flat.substr(i, 76) + "\n";
  return out;
}

size_t ItemCount(const vread::Mailbox& box) {
  size_t n = 0;
  for (const vread::Folder& f : box.folders()) n += f.items.size();
  return n;
}

// The checks every import must pass: every file complete and holding
// exactly the items the report puts into it, every item reported once.
void ExpectAccountedFor(const json& report, size_t items) {
  ASSERT_EQ(report["items"].size(), items);
  std::map<std::string, std::set<uint64_t>> nids_by_file;
  for (const json& item : report["items"]) {
    if (item["status"] != "rejected") {
      EXPECT_TRUE(nids_by_file[item["file"]].insert(item["nid"].get<uint64_t>()).second)
          << "NID reported twice: " << item.dump();
    } else {
      EXPECT_FALSE(item["reason"].get<std::string>().empty());
    }
  }
  for (const json& f : report["files"]) {
    const std::string path = f["path"];
    const vread::Mailbox box = vread::Mailbox::open(path);
    ASSERT_TRUE(box.complete()) << path;
    std::set<uint64_t> held;
    for (const vread::Folder& folder : box.folders()) {
      for (const vread::Item& item : folder.items) held.insert(item.nid);
    }
    EXPECT_EQ(held, nids_by_file[path]) << path;
    EXPECT_EQ(ItemCount(box), f["messages"].get<size_t>() + f["events"].get<size_t>());
  }
}

// One generated message; `kind` picks its shape.
std::string GeneratedMessage(size_t i, std::mt19937* rng) {
  std::ostringstream m;
  m << "From: Sender " << i << " <s" << i << "@example.org>\n"
    << "To: =?UTF-8?B?w4VzYQ==?= <asa@example.org>, b@example.org\n"
    << "Subject: message " << i << "\n"
    << "Date: Mon, 04 Mar 2024 10:12:45 +0100\nMIME-Version: 1.0\n";
  if (i % 100 == 0) {  // an attachment of up to 2 MB
    const size_t size = 1 + (*rng)() % (2u << 20);
    m << "Content-Type: multipart/mixed; boundary=b\n\n--b\n"
      << "Content-Type: text/plain\n\nsee attached\n--b\n"
      << "Content-Type: application/octet-stream; name=a" << i << ".bin\n"
      << "Content-Transfer-Encoding: base64\n\n"
      << Base64Lines(std::string(size, static_cast<char>('a' + i % 26))) << "--b--\n";
  } else if (i % 40 == 1) {  // a body over 64 KiB
    m << "Content-Type: text/plain; charset=utf-8\n\n";
    for (int line = 0; line < 1000; ++line) m << std::string(70, 'x') << "\n";
  } else if (i % 97 == 2) {  // malformed: bad charset, broken multipart, garbage
    m << "Content-Type: multipart/mixed; boundary=\"unclosed\n"
      << "Content-Transfer-Encoding: base64\n\n--unclosed\n"
      << "Content-Type: text/plain; charset=no-such-charset\n\n\xff\xfe\x80 =?x?Q?\n";
  } else {
    m << "Content-Type: text/plain; charset=iso-8859-1\n\nGr\xfc\xdf" "e " << i << "\n";
  }
  return m.str();
}

TEST(ImportRun, CommandLine) {
  testutil::TempDir dir;
  RunResult help = Import(dir, {"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_NE(help.out.find("usage: virel-import"), std::string::npos);
  RunResult version = Import(dir, {"--version"});
  EXPECT_EQ(version.exit_code, 0);
  EXPECT_EQ(version.out.rfind("virel-import ", 0), 0u);
  EXPECT_EQ(Import(dir, {"samples"}).exit_code, 2);  // no -o
  EXPECT_EQ(Import(dir, {"-o", dir.File("x.pst")}).exit_code, 2);  // no input
  EXPECT_EQ(Import(dir, {"--bogus", "-o", dir.File("x.pst"), "in"}).exit_code, 2);
  EXPECT_EQ(Import(dir, {"-o", dir.File("x.pst"), "--folder", "/", "in"}).exit_code, 2);
  const RunResult missing = Import(dir, {"-o", dir.File("x.pst"), dir.File("nothing-here")});
  EXPECT_EQ(missing.exit_code, 2);
  EXPECT_NE(missing.err.find("nothing-here"), std::string::npos);
  std::ofstream(dir.File("m.eml")) << "Subject: x\n\nbody\n";
  const RunResult unwritable = Import(dir, {"-o", "/proc/no/such/dir/x.pst", dir.File("m.eml")});
  EXPECT_EQ(unwritable.exit_code, 2);
  EXPECT_NE(unwritable.err.find("/proc/no/such/dir/x.pst"), std::string::npos);
}

TEST(ImportRun, SampleMailSet) {
  testutil::TempDir dir;
  const RunResult r = Import(dir, {"--json", "-o", dir.File("mail.pst"), VIREL_SAMPLES_DIR});
  ASSERT_EQ(r.exit_code, 0) << r.err;
  const json report = json::parse(r.out);
  ExpectAccountedFor(report, 8);
  std::multiset<std::string> folders;
  for (const json& item : report["items"]) folders.insert(item["folder"].get<std::string>());
  EXPECT_EQ(folders, (std::multiset<std::string>{"Calendar", "Calendar", "Inbox", "Inbox",
                                                 "Inbox", "Projects", "Projects",
                                                 "Projects/Archive"}));
  const std::string inspect = std::string(VIREL_INSPECT_EXE) + " " +
                              Quote(dir.File("mail.pst")) + " >/dev/null";
  EXPECT_EQ(std::system(inspect.c_str()), 0);
}

TEST(ImportRun, GeneratedMboxSplitsAndLosesNothing) {
  testutil::TempDir dir;
  const size_t count = VIREL_IMPORT_TEST_MESSAGES;
  const std::set<size_t> too_large = {3, count / 2};
  std::mt19937 rng(12);
  std::vector<std::string> raws;
  {
    std::ofstream mbox(dir.File("Archive.mbox"), std::ios::binary);
    for (size_t i = 0; i < count; ++i) {
      std::string raw = GeneratedMessage(i, &rng);
      if (too_large.count(i)) {  // no file can hold 4 MB of attachment
        raw = "Subject: too large\nContent-Type: application/octet-stream\n"
              "Content-Disposition: attachment; filename=big.bin\n"
              "Content-Transfer-Encoding: base64\n\n" +
              Base64Lines(std::string(4u << 20, 'z'));
      }
      mbox << ToMboxEntry(raw);
      raws.push_back(raw);
    }
  }
  const RunResult r = Import(dir, {"--json", "-o", dir.File("out.pst"), dir.File("Archive.mbox")});
  ASSERT_EQ(r.exit_code, 1) << r.err;  // the too-large ones are rejected
  const json report = json::parse(r.out);
  ExpectAccountedFor(report, count);
  EXPECT_GE(report["files"].size(), 3u);

  std::vector<size_t> rejected;
  size_t moved = 0;
  for (size_t i = 0; i < count; ++i) {
    const json& item = report["items"][i];
    EXPECT_EQ(item["source"]["index"], i);
    if (item["status"] == "rejected") rejected.push_back(i);
    if (item["status"] == "written-with-moved-body") ++moved;
    if (item["status"] != "rejected") {
      EXPECT_EQ(item["folder"], "Archive");
    }
  }
  EXPECT_EQ(rejected, std::vector<size_t>(too_large.begin(), too_large.end()));
  EXPECT_EQ(moved, (count + 38) / 40);  // every body over 64 KiB
  // The rejected messages are kept byte for byte.
  const std::vector<std::string> kept = SplitMbox(ReadText(dir.File("out.rejected.mbox")));
  ASSERT_EQ(kept.size(), rejected.size());
  for (size_t k = 0; k < kept.size(); ++k) EXPECT_EQ(kept[k], raws[rejected[k]]);
  const std::string inspect = std::string(VIREL_INSPECT_EXE) + " " +
                              Quote(report["files"].back()["path"]) + " >/dev/null";
  EXPECT_EQ(std::system(inspect.c_str()), 0);
}

// Text of `n` UTF-8 characters, two bytes each.
std::string Umlauts(size_t n) {
  std::string s;
  for (size_t i = 0; i < n; ++i) s += "\xC3\xA4";
  return s;
}

// Messages at the writer's edges: long recipient lists, many attachments,
// attachments around block boundaries, subjects near one heap page.
std::string EdgeMessage(std::mt19937* rng) {
  std::ostringstream m;
  m << "From: edge@example.org\nTo: ";
  const size_t recipients = (*rng)() % 1500;
  for (size_t r = 0; r < recipients; ++r) m << (r ? ", " : "") << "r" << r << "@example.org";
  m << "\nSubject: " << Umlauts((*rng)() % 40000) << "\nMIME-Version: 1.0\n"
    << "Content-Type: multipart/mixed; boundary=e\n\n--e\nContent-Type: text/plain\n\nx\n";
  const size_t attachments = (*rng)() % 2 ? (*rng)() % 400 : 1;
  for (size_t a = 0; a < attachments; ++a) {
    const size_t size = attachments == 1 ? 8176 * ((*rng)() % 400) + (*rng)() % 3 : 1 + a;
    m << "--e\nContent-Type: application/octet-stream\n"
      << "Content-Disposition: attachment; filename=f" << a << "\n"
      << "Content-Transfer-Encoding: base64\n\n" << Base64Lines(std::string(size, 'q'));
  }
  m << "--e--\n";
  return m.str();
}

TEST(ImportRun, NoInputLeavesAFileThatFailsToClose) {
  testutil::TempDir dir;
  const fs::path in = dir.path() / "in";
  std::mt19937 rng(7);
  fs::create_directories(in);
  {
    std::ofstream garbage(in / "garbage.mbox", std::ios::binary);
    garbage << "From x Mon Jan  1 00:00:00 2024\n";
    for (int i = 0; i < 200000; ++i) {
      garbage << (i % 997 == 0 ? std::string("\nFrom y 00:00\n") : std::string(1, static_cast<char>(rng())));
    }
  }
  {
    std::ofstream edge(in / "edge.mbox", std::ios::binary);
    for (int i = 0; i < 30; ++i) edge << ToMboxEntry(EdgeMessage(&rng));
  }
  // So many folders that they alone fill files.
  for (int f = 0; f < 150; ++f) {
    const fs::path cur = in / "Many" / (".F" + std::to_string(f)) / "cur";
    fs::create_directories(cur);
    std::ofstream(cur / "1") << "Subject: folder " << f << "\n\nbody\n";
  }
  fs::create_directories(in / "Many" / "cur");
  std::ofstream(in / "calendar.ics", std::ios::binary)
      << "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:1\r\nSUMMARY:fine\r\n"
      << "DTSTART:20240101T100000Z\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nUID:2\r\n"
      << "DESCRIPTION:" << std::string(70000, 'd') << "\r\nDTSTART:20240102T100000Z\r\n"
      << "END:VEVENT\r\nBEGIN:VEVENT\r\nDTSTART:garbage\r\nSUMMARY;X=\"unclosed:x\r\n";
  std::ofstream(in / "binary.eml", std::ios::binary)
      << "X: y\n" << std::string("\0\xff\x01\r\n--", 7) << std::string(5000, '\x80');

  const RunResult r = Import(dir, {"--json", "-o", dir.File("out.pst"), in.string()});
  ASSERT_TRUE(r.exit_code == 0 || r.exit_code == 1) << r.err;
  const json report = json::parse(r.out);
  ExpectAccountedFor(report, report["items"].size());
  EXPECT_GE(report["summary"]["messages"].get<size_t>(), 30u + 150u + 1u);
  EXPECT_GE(report["files"].size(), 2u);
  EXPECT_TRUE(report["errors"].empty());
  // The refused event is kept in a calendar of its own.
  const std::string ics = ReadText(dir.File("out.rejected.ics"));
  EXPECT_EQ(ics.rfind("BEGIN:VCALENDAR", 0), 0u);
  EXPECT_NE(ics.find(std::string(70000, 'd')), std::string::npos);
  EXPECT_NE(ics.find("END:VCALENDAR"), std::string::npos);
}

}  // namespace
}  // namespace vimport
