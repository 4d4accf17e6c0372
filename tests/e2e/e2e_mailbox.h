// Randomised mailboxes for the end-to-end tests: a model of what was
// written, the writing through the C interface, the comparison with what the
// reader finds, and a runner for virel-inspect.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include "api/api_test_util.h"
#include "virel.h"

namespace e2e {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kHtmlBody = 0x10130102;
constexpr uint32_t kDisplayName = 0x3001001F;
constexpr uint32_t kRecipientTable = 0x12;
constexpr size_t kBlockPayload = 8176;

inline uint64_t Filetime(int64_t seconds) {
  return static_cast<uint64_t>(seconds + 11644473600LL) * 10000000ull;
}

struct Recipient {
  std::string name;
  std::string address;
  int32_t type = 0;
};

struct Attachment {
  std::string name;
  Bytes data;
};

struct Item {
  bool event = false;
  std::string folder;  // path of the folder it landed in
  std::string subject, body, html, senderName, senderAddress, location;
  std::vector<Recipient> recipients;
  std::vector<Attachment> attachments;  // only those the writer keeps
  int64_t start = 0, end = 0;
  std::optional<int64_t> time;  // a message's time, when the test chose it
};

struct Model {
  std::map<std::string, uint64_t> folders;  // path -> NID, 0 if made implicitly
  std::set<std::string> eventFolders;
  std::map<uint64_t, Item> items;  // by NID
  uint32_t messages = 0, events = 0;

  void addPath(const std::string& path) {
    for (size_t at = path.find('/'); at != std::string::npos; at = path.find('/', at + 1))
      folders.emplace(path.substr(0, at), 0);
    folders.emplace(path, 0);
  }
  size_t itemsIn(const std::string& path) const {
    return static_cast<size_t>(std::count_if(items.begin(), items.end(),
                                             [&](const auto& kv) { return kv.second.folder == path; }));
  }
};

inline std::string ParentOf(const std::string& path) {
  const size_t at = path.rfind('/');
  return at == std::string::npos ? "" : path.substr(0, at);
}

// Random content. Texts are empty or at least three UTF-16 code units long.
class Generator {
 public:
  explicit Generator(uint32_t seed) : rng_(seed) {}

  int Uniform(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  int64_t Uniform64(int64_t lo, int64_t hi) {
    return std::uniform_int_distribution<int64_t>(lo, hi)(rng_);
  }
  bool Chance(int percent) { return Uniform(0, 99) < percent; }

  std::string Text(int minPieces, int maxPieces) {
    static const char* const kPieces[] = {"a", "b", "Z", "q", "m", " ", "0", "7", "-", ".",
                                          "ü", "é", "ß", "Ω", "日本", "語", "😀", "🎉"};
    std::string s;
    for (int n = Uniform(minPieces, maxPieces); n > 0; --n)
      s += kPieces[Uniform(0, static_cast<int>(std::size(kPieces)) - 1)];
    return s;
  }
  std::string MaybeText(int percentEmpty, int minPieces, int maxPieces) {
    return Chance(percentEmpty) ? std::string() : Text(minPieces, maxPieces);
  }
  Bytes Data(size_t n) {
    Bytes b(n);
    for (auto& x : b) x = static_cast<uint8_t>(rng_());
    return b;
  }
  template <typename T>
  const T& Pick(const std::vector<T>& from) {
    return from[static_cast<size_t>(Uniform(0, static_cast<int>(from.size()) - 1))];
  }

 private:
  std::mt19937 rng_;
};

// NULL half the time the text is empty: both mean "no text".
inline const char* Arg(Generator& g, const std::string& s) {
  return s.empty() && g.Chance(50) ? nullptr : s.c_str();
}

// Blocks an attachment of `n` bytes costs: its property context and data tree.
inline int AttachmentBlocks(size_t n) {
  const int data = static_cast<int>((n + kBlockPayload - 1) / kBlockPayload);
  return 1 + data + (n > kBlockPayload ? 1 : 0);
}

// Writes a random mailbox to `path` and returns what it holds. The content
// stays well inside the node and block limits, so close completes the file.
inline Model WriteRandomMailbox(uint32_t seed, const std::string& path) {
  constexpr int kBlockBudget = 300;  // generous estimate, B-tree pages aside
  constexpr int kBlocksPerFolder = 7;
  Generator g(seed);
  Model m;
  virel_writer* w = virel_create_writer(path.c_str());
  EXPECT_NE(w, nullptr);
  int blocks = 8 * kBlocksPerFolder;  // store, root, defaults, Calendar

  std::vector<std::string> paths = {"Inbox", "Outbox", "Sent Items", "Deleted Items", "Drafts"};
  for (const auto& p : paths) {
    m.folders[p] = virel_create_folder(w, p.c_str());
    EXPECT_NE(m.folders[p], 0u) << p;
  }
  std::vector<std::string> parents = {"", "Inbox", "Drafts"};
  for (int n = g.Uniform(3, 8); n > 0; --n) {
    const std::string parent = g.Pick(parents);
    const std::string path = (parent.empty() ? "" : parent + "/") + g.Text(3, 8);
    const std::string arg = g.Chance(30) ? "/" + path + "/" : path;
    const uint64_t nid = virel_create_folder(w, arg.c_str());
    EXPECT_NE(nid, 0u) << path;
    EXPECT_EQ(virel_create_folder(w, path.c_str()), nid) << path;
    m.folders[path] = nid;
    paths.push_back(path);
    if (std::count(path.begin(), path.end(), '/') < 2) parents.push_back(path);
    blocks += kBlocksPerFolder;
  }

  // A new folder path with a new parent, created by filing an item into it.
  auto freshPath = [&](const char* top) {
    blocks += 2 * kBlocksPerFolder;
    return std::string(top) + "/" + g.Text(3, 6);
  };

  const int messages = g.Uniform(10, 30);
  const int events = g.Uniform(2, 6);
  std::vector<char> kinds(static_cast<size_t>(messages), 0);
  kinds.insert(kinds.end(), static_cast<size_t>(events), 1);
  for (size_t i = kinds.size(); i > 1; --i)
    std::swap(kinds[i - 1], kinds[static_cast<size_t>(g.Uniform(0, static_cast<int>(i) - 1))]);

  for (const char kind : kinds) {
    const bool isEvent = kind != 0;
    Item it;
    it.event = isEvent;
    it.subject = g.MaybeText(10, 3, 40);
    const bool longBody = g.Chance(5);
    it.body = longBody ? g.Text(3000, 5000) : g.MaybeText(20, 3, 300);
    blocks += longBody ? 4 : 1;
    std::string folderArg;
    const bool defaultFolder = g.Chance(isEvent ? 50 : 15);
    if (!defaultFolder) folderArg = g.Chance(10) ? freshPath(isEvent ? "Termine ü" : "Archiv") : g.Pick(paths);
    it.folder = defaultFolder ? (isEvent ? "Calendar" : "Inbox") : folderArg;
    const char* folder = defaultFolder ? nullptr : folderArg.c_str();
    uint64_t nid = 0;

    if (isEvent) {
      it.location = g.MaybeText(30, 3, 20);
      it.senderName = g.MaybeText(20, 3, 12);
      it.senderAddress = g.MaybeText(20, 3, 12);
      it.start = g.Uniform64(-2000000000LL, 4500000000LL);
      it.end = it.start + g.Uniform64(-3600, 3 * 86400);
      virel_event* e = virel_create_event();
      virel_event_set_subject(e, Arg(g, it.subject));
      virel_event_set_body_plain(e, Arg(g, it.body));
      virel_event_set_location(e, Arg(g, it.location));
      if (!it.senderName.empty() || !it.senderAddress.empty())
        virel_event_set_organizer(e, Arg(g, it.senderName), Arg(g, it.senderAddress));
      virel_event_set_start_time(e, it.start);
      virel_event_set_end_time(e, it.end);
      virel_event_set_busy_status(e, static_cast<uint32_t>(g.Uniform(0, 4)));
      virel_event_set_meeting_status(e, static_cast<uint32_t>(g.Uniform(0, 6)));
      virel_event_set_all_day(e, g.Uniform(0, 1));
      for (int a = g.Uniform(0, 3); a > 0; --a)
        virel_event_add_attendee(e, g.Text(3, 8).c_str(), "att@example.com",
                                 static_cast<uint32_t>(g.Uniform(1, 3)));
      if (g.Chance(30)) virel_event_set_recurrence_weekly(e, 1, 0x2A);
      if (g.Chance(30)) virel_event_set_recurrence_daily(e, 2);
      nid = virel_writer_add_event(w, folder, e);
      virel_destroy_event(e);
      m.eventFolders.insert(it.folder);
      ++m.events;
      blocks += 1;
    } else if (g.Chance(10)) {
      it.body = g.MaybeText(20, 3, 100);
      nid = virel_add_message_simple(w, folder, Arg(g, it.subject), Arg(g, it.body));
      ++m.messages;
      blocks += 1;
    } else {
      it.html = g.Chance(40) ? "<p>" + g.Text(1, 200) + "</p>" : std::string();
      it.senderName = g.MaybeText(20, 3, 12);
      // A message keeps its sender's address and its time in the writer's
      // row groups only; the reader takes them from there.
      it.senderAddress = g.MaybeText(20, 3, 12) + "@example.com";
      virel_message* msg = virel_create_message();
      virel_message_set_subject(msg, Arg(g, it.subject));
      virel_message_set_body_plain(msg, Arg(g, it.body));
      virel_message_set_body_html(msg, Arg(g, it.html));
      virel_message_set_sender(msg, Arg(g, it.senderName), it.senderAddress.c_str());
      it.time = g.Uniform64(0, 2000000000LL);
      virel_message_set_time(msg, *it.time);
      for (int r = g.Uniform(0, 4); r > 0; --r) {
        static const int32_t kTypes[] = {1, 2, 3, 0, 7, -1};
        Recipient rc{g.MaybeText(20, 3, 12), g.Text(3, 8) + "@example.org",
                     kTypes[g.Uniform(0, 5)]};
        virel_message_add_recipient(msg, Arg(g, rc.name), rc.address.c_str(), rc.type);
        it.recipients.push_back(rc);
      }
      if (g.Chance(40)) {
        for (int a = g.Uniform(1, 3); a > 0; --a) {
          static const size_t kEdges[] = {0, 1, kBlockPayload, kBlockPayload + 1};
          const int pick = g.Uniform(0, 5);
          const size_t size = pick < 4 ? kEdges[pick]
                              : pick == 4 ? static_cast<size_t>(g.Uniform(2, 3000))
                                          : static_cast<size_t>(g.Uniform(8178, 40000));
          if (blocks + AttachmentBlocks(size) > kBlockBudget) continue;
          const bool defaultName = g.Chance(15);
          Attachment att{defaultName ? "attachment" : g.Text(3, 10) + ".bin", g.Data(size)};
          if (g.Chance(10)) virel_message_add_attachment(msg, "dropped", nullptr, 10);
          const void* bytes = size == 0 ? static_cast<const void*>("x") : att.data.data();
          virel_message_add_attachment(msg, defaultName ? nullptr : att.name.c_str(), bytes, size);
          if (size == 0) continue;  // size 0 is ignored
          blocks += AttachmentBlocks(size);
          it.attachments.push_back(std::move(att));
        }
      }
      const bool tables = !it.recipients.empty() || !it.attachments.empty();
      blocks += 1 + (tables ? 1 : 0) + (it.recipients.empty() ? 0 : 1) +
                (it.attachments.empty() ? 0 : 1);
      nid = virel_writer_add_message(w, folder, msg);
      virel_destroy_message(msg);
      ++m.messages;
    }
    EXPECT_NE(nid, 0u) << it.folder;
    m.addPath(it.folder);
    if (std::find(paths.begin(), paths.end(), it.folder) == paths.end())
      paths.push_back(it.folder);
    m.items[nid] = std::move(it);
  }
  virel_close(w);
  virel_destroy_writer(w);
  return m;
}

inline std::string PathOf(const std::map<uint32_t, std::string>& paths, const vread::Folder& f) {
  const auto parent = paths.find(f.parent);
  if (f.depth == 0 || parent == paths.end()) return "";
  return parent->second.empty() ? f.name : parent->second + "/" + f.name;
}

inline void CompareMessage(const vread::Mailbox& box, const vread::Item& got, const Item& want) {
  EXPECT_EQ(got.messageClass, "IPM.Note");
  EXPECT_FALSE(got.isEvent);
  ASSERT_TRUE(got.time.has_value());  // the current time for a simple message
  if (want.time) {
    EXPECT_EQ(*got.time, Filetime(*want.time));
  }
  const auto pc = box.properties(got.nid);
  ASSERT_TRUE(pc.has_value());
  const vread::PropValue* html = pc->find(kHtmlBody);
  EXPECT_EQ(html != nullptr, !want.html.empty());
  if (html != nullptr) {
    EXPECT_EQ(std::string(html->bytes.begin(), html->bytes.end()), want.html);
  }

  ASSERT_EQ(got.recipients.size(), want.recipients.size());
  const auto table = box.subnodeTable(got.nid, kRecipientTable);
  ASSERT_EQ(table.has_value(), !want.recipients.empty());
  for (size_t i = 0; i < want.recipients.size(); ++i) {
    const Recipient& r = want.recipients[i];
    const uint32_t type = r.type >= 1 && r.type <= 3 ? static_cast<uint32_t>(r.type) : 1u;
    EXPECT_EQ(got.recipients[i].type, type) << "recipient " << i;
    EXPECT_EQ(got.recipients[i].name, r.name) << "recipient " << i;
    EXPECT_EQ(got.recipients[i].address, r.address) << "recipient " << i;
    EXPECT_EQ(table->cell(table->rows()[i], kDisplayName) != nullptr, !r.name.empty()) << i;
  }

  ASSERT_EQ(got.attachments.size(), want.attachments.size());
  for (size_t i = 0; i < want.attachments.size(); ++i) {
    const vread::Attachment& a = got.attachments[i];
    const Attachment& expected = want.attachments[i];
    EXPECT_EQ(a.number, i);
    EXPECT_EQ(a.name, expected.name);
    EXPECT_EQ(a.size, expected.data.size());
    const auto data = box.attachmentData(a);
    ASSERT_TRUE(data.has_value()) << "attachment " << i;
    EXPECT_TRUE(*data == expected.data) << "attachment " << i << ": " << data->size()
                                        << " bytes read, " << expected.data.size() << " written";
  }
}

inline void CompareEvent(const vread::Item& got, const Item& want) {
  EXPECT_EQ(got.messageClass, "IPM.Appointment");
  EXPECT_TRUE(got.isEvent);
  EXPECT_EQ(got.start, std::optional<uint64_t>(Filetime(want.start)));
  EXPECT_EQ(got.end, std::optional<uint64_t>(Filetime(want.end)));
  EXPECT_EQ(got.location,
            want.location.empty() ? std::nullopt : std::optional<std::string>(want.location));
  EXPECT_TRUE(got.recipients.empty());
  EXPECT_TRUE(got.attachments.empty());
}

// Checks that the file holds exactly the model: folders by path with their
// class, count and hierarchy rows, every item field by field.
inline void CompareWithModel(const Model& m, const vread::Mailbox& box) {
  std::map<uint32_t, std::string> paths;
  std::map<std::string, const vread::Folder*> byPath;
  const vread::Folder* root = nullptr;
  for (const auto& f : box.folders()) {
    const std::string path = PathOf(paths, f);
    paths[f.nid] = path;
    if (f.depth == 0) {
      root = &f;
      continue;
    }
    EXPECT_TRUE(byPath.emplace(path, &f).second) << "two folders at " << path;
  }
  ASSERT_NE(root, nullptr);
  std::set<std::string> wantPaths, gotPaths;
  for (const auto& kv : m.folders) wantPaths.insert(kv.first);
  for (const auto& kv : byPath) gotPaths.insert(kv.first);
  EXPECT_EQ(gotPaths, wantPaths);

  std::map<std::string, size_t> children;
  for (const auto& kv : m.folders) ++children[ParentOf(kv.first)];
  EXPECT_EQ(root->children.size(), children[""]);

  std::set<uint64_t> seen;
  for (const auto& kv : byPath) {
    const std::string& path = kv.first;
    const vread::Folder& f = *kv.second;
    SCOPED_TRACE("folder " + path);
    const auto want = m.folders.find(path);
    if (want == m.folders.end()) continue;
    if (want->second != 0) {
      EXPECT_EQ(f.nid, want->second);
    }
    EXPECT_EQ(f.containerClass, m.eventFolders.count(path) ? "IPF.Appointment" : "IPF.Note");
    EXPECT_EQ(f.contentCount, std::optional<uint32_t>(static_cast<uint32_t>(m.itemsIn(path))));
    EXPECT_EQ(f.items.size(), m.itemsIn(path));
    EXPECT_EQ(f.children.size(), children[path]);
    for (const vread::Item& got : f.items) {
      SCOPED_TRACE("item " + vread::hex(got.nid));
      const auto it = m.items.find(got.nid);
      if (it == m.items.end()) {
        ADD_FAILURE() << "unexpected item";
        continue;
      }
      const Item& item = it->second;
      EXPECT_TRUE(seen.insert(got.nid).second);
      EXPECT_EQ(item.folder, path);
      EXPECT_EQ(got.subject, item.subject);
      EXPECT_EQ(got.body, item.body);
      EXPECT_EQ(got.senderName, item.senderName);
      EXPECT_EQ(got.senderAddress, item.senderAddress);
      if (item.event)
        CompareEvent(got, item);
      else
        CompareMessage(box, got, item);
    }
  }
  EXPECT_EQ(seen.size(), m.items.size());
  const auto record = box.recordBlock();
  ASSERT_TRUE(record.has_value());
  EXPECT_EQ(record->messages, m.messages);
  EXPECT_EQ(record->events, m.events);
}

// Runs virel-inspect with the given arguments; output (stdout and stderr)
// goes to `capture`. Returns the exit code, -1 if it did not exit.
inline int RunInspect(const std::string& args, const std::string& capture, std::string* output) {
  std::string exe = VIREL_INSPECT_EXE;
#ifdef _WIN32
  // Cross-built and run under Wine, the build machine's paths are on Z:.
  if (!exe.empty() && exe[0] == '/') exe = "Z:" + exe;
#endif
  std::string cmd = "\"" + exe + "\" " + args + " > \"" + capture + "\" 2>&1";
#ifdef _WIN32
  cmd = "\"" + cmd + "\"";  // cmd.exe drops the outer pair of quotes
  const int rc = std::system(cmd.c_str());
#else
  const int status = std::system(cmd.c_str());
  const int rc = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
  std::ifstream in(capture, std::ios::binary);
  output->assign(std::istreambuf_iterator<char>(in), {});
  return rc;
}

inline std::string Quoted(const std::string& s) { return "\"" + s + "\""; }

// virel-inspect's text report of a file that must be complete and clean.
inline std::string InspectClean(const std::string& path, const std::string& capture) {
  std::string text;
  EXPECT_EQ(RunInspect(Quoted(path), capture, &text), 0) << text;
  EXPECT_NE(text.find("Violations: 0\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Warnings:   0\n"), std::string::npos) << text;
  EXPECT_NE(text.find("Status:    complete\n"), std::string::npos) << text;
  return text;
}

}  // namespace e2e
