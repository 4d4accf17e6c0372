// Many small random mailboxes, with invalid UTF-8 in names and texts, must
// all be reported complete and clean by the reader and by virel-inspect in
// text and JSON; the JSON must parse.
#include <nlohmann/json.hpp>

#include "e2e/e2e_mailbox.h"

namespace {

using e2e::Bytes;
using e2e::Quoted;

#ifdef _WIN32
constexpr int kMailboxes = 20;  // under Wine every process start is slow
#else
constexpr int kMailboxes = 200;
#endif
constexpr uint32_t kAttachFilename = 0x3704001F;
constexpr uint32_t kAttachFilename8 = 0x3704001E;
constexpr uint32_t kAttachLongFilename8 = 0x3707001E;
constexpr uint32_t kAttachmentsTable = 0x11;
constexpr uint16_t kReplacement = 0xFFFD;

// Valid pieces and every kind of bad UTF-8: stray continuation, lead at
// the end, truncated sequence, surrogate, overlong, past U+10FFFF.
const char* const kPieces[] = {"a", "Q", " ", "7", "ü", "日", "😀", "\x80", "\xFF", "\xC3",
                               "\xE2\x82", "\xED\xA0\x80", "\xC0\x80", "\xF4\x90\x80\x80",
                               "\xF0\x80\x80\x80", "\xC3\x28"};

std::string RandomText(e2e::Generator& g, int maxPieces) {
  std::string s;
  for (int n = g.Uniform(0, maxPieces); n > 0; --n)
    s += kPieces[g.Uniform(0, static_cast<int>(std::size(kPieces)) - 1)];
  return s;
}

void PutUnit(Bytes& out, uint32_t unit) {
  out.push_back(static_cast<uint8_t>(unit));
  out.push_back(static_cast<uint8_t>(unit >> 8));
}

// The terminated encoding: continuation bits as they stand, bad bytes
// skipped, a 4-byte sequence below U+10000 dropped, a UTF-16 terminator.
Bytes Terminated(const std::string& text) {
  const auto* s = reinterpret_cast<const uint8_t*>(text.data());
  const size_t n = text.size();
  Bytes out;
  for (size_t i = 0; i < n;) {
    const uint8_t b = s[i];
    if (b < 0x80) {
      PutUnit(out, b);
      i += 1;
    } else if ((b & 0xE0) == 0xC0 && i + 1 < n) {
      PutUnit(out, ((b & 0x1Fu) << 6) | (s[i + 1] & 0x3Fu));
      i += 2;
    } else if ((b & 0xF0) == 0xE0 && i + 2 < n) {
      PutUnit(out, ((b & 0x0Fu) << 12) | ((s[i + 1] & 0x3Fu) << 6) | (s[i + 2] & 0x3Fu));
      i += 3;
    } else if ((b & 0xF8) == 0xF0 && i + 3 < n) {
      const uint32_t cp = ((b & 0x07u) << 18) | ((s[i + 1] & 0x3Fu) << 12) |
                          ((s[i + 2] & 0x3Fu) << 6) | (s[i + 3] & 0x3Fu);
      if (cp >= 0x10000) {
        PutUnit(out, 0xD800 + ((cp - 0x10000) >> 10));
        PutUnit(out, 0xDC00 + (cp & 0x3FF));
      }
      i += 4;
    } else {
      i += 1;
    }
  }
  PutUnit(out, 0);
  return out;
}

// Well-formed UTF-8: no stray or missing continuation byte, no overlong
// form, no surrogate, nothing past U+10FFFF.
bool ValidUtf8(const std::string& text) {
  const auto* s = reinterpret_cast<const uint8_t*>(text.data());
  const size_t n = text.size();
  for (size_t i = 0; i < n;) {
    const uint8_t b = s[i];
    const size_t len = b < 0x80 ? 1 : (b & 0xE0) == 0xC0 ? 2 : (b & 0xF0) == 0xE0 ? 3 : (b & 0xF8) == 0xF0 ? 4 : 0;
    if (len == 0 || i + len > n) return false;
    uint32_t cp = len == 1 ? b : b & (0x7Fu >> len);
    for (size_t k = 1; k < len; ++k) {
      if ((s[i + k] & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (s[i + k] & 0x3Fu);
    }
    static const uint32_t kMinimum[] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kMinimum[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return false;
    i += len;
  }
  return true;
}

struct Written {
  std::map<uint64_t, std::vector<std::string>> attachmentNames;  // by message NID
};

Written WriteSmallMailbox(uint32_t seed, const std::string& path) {
  e2e::Generator g(seed);
  Written out;
  virel_writer* w = virel_create_writer(path.c_str());
  EXPECT_NE(w, nullptr);
  std::vector<std::string> folders = {"", "Inbox"};
  for (int n = g.Uniform(0, 3); n > 0; --n) {
    const std::string name = "F" + std::to_string(n) + RandomText(g, 4);
    if (virel_create_folder(w, name.c_str()) != 0) folders.push_back(name);
  }
  for (int n = g.Uniform(1, 6); n > 0; --n) {
    const std::string folder = g.Chance(20) ? "New" + RandomText(g, 3) + "/Sub" : g.Pick(folders);
    const char* where = folder.empty() ? nullptr : folder.c_str();
    if (g.Chance(30)) {
      virel_event* e = virel_create_event();
      virel_event_set_subject(e, RandomText(g, 8).c_str());
      virel_event_set_location(e, RandomText(g, 4).c_str());
      virel_event_set_start_time(e, g.Uniform64(0, 2000000000LL));
      virel_event_set_end_time(e, g.Uniform64(0, 2000000000LL));
      EXPECT_NE(virel_writer_add_event(w, where, e), 0u);
      virel_destroy_event(e);
      continue;
    }
    virel_message* m = virel_create_message();
    virel_message_set_subject(m, RandomText(g, 8).c_str());
    virel_message_set_body_plain(m, RandomText(g, 20).c_str());
    virel_message_set_sender(m, RandomText(g, 4).c_str(), "a@example.com");
    for (int r = g.Uniform(0, 2); r > 0; --r) virel_message_add_recipient(m, RandomText(g, 4).c_str(), "r@x.org", 1);
    std::vector<std::string> names;
    for (int a = g.Uniform(0, 3); a > 0; --a) {
      const std::string name = RandomText(g, 6);
      const Bytes data = g.Data(static_cast<size_t>(g.Chance(10) ? g.Uniform(8000, 20000) : g.Uniform(1, 2000)));
      virel_message_add_attachment(m, name.c_str(), data.data(), data.size());
      names.push_back(name);
    }
    const uint64_t nid = virel_writer_add_message(w, where, m);
    EXPECT_NE(nid, 0u);
    out.attachmentNames[nid] = names;
    virel_destroy_message(m);
  }
  virel_close(w);
  virel_destroy_writer(w);
  return out;
}

// Each attachment name against its own encoding of the source: the PC's
// 8-bit names against the terminated encoding, the table cell against the
// platform conversion (equal to the text when it is valid UTF-8).
void CheckAttachmentNames(const vread::Mailbox& box, const Written& written) {
  for (const auto& [nid, names] : written.attachmentNames) {
    if (names.empty()) continue;
    const auto table = box.subnodeTable(static_cast<uint32_t>(nid), kAttachmentsTable);
    ASSERT_TRUE(table.has_value());
    ASSERT_EQ(table->rows().size(), names.size());
    for (size_t i = 0; i < names.size(); ++i) {
      SCOPED_TRACE("attachment " + std::to_string(i) + " of " + vread::hex(nid));
      const vread::Row& row = table->rows()[i];
      const auto pc = box.subnodeProperties(static_cast<uint32_t>(nid), row.rowId);
      ASSERT_TRUE(pc.has_value());
      // Up to four zero bytes fit the record as dwValueHnid 0 and read back empty.
      const Bytes want8 = Terminated(names[i]);
      const bool zeroInRecord = want8.size() <= 4 && std::count(want8.begin(), want8.end(), 0) == static_cast<long>(want8.size());
      for (uint32_t tag : {kAttachFilename8, kAttachLongFilename8}) {
        ASSERT_EQ(pc->find(tag) == nullptr, names[i].empty());
        if (names[i].empty()) continue;
        const Bytes& got = pc->find(tag)->bytes;
        EXPECT_TRUE(got == want8 || (got.empty() && zeroInRecord));
      }
      const vread::Cell* cell = table->cell(row, kAttachFilename);
      const Bytes unicode = cell ? cell->value : Bytes{};
      bool replaced = false;
      for (size_t k = 0; k + 1 < unicode.size(); k += 2) replaced |= (unicode[k] | unicode[k + 1] << 8) == kReplacement;
      if (ValidUtf8(names[i])) {
        EXPECT_FALSE(replaced);
        EXPECT_EQ(box.item(static_cast<uint32_t>(nid))->attachments[i].name, names[i]);
      } else {
        EXPECT_TRUE(replaced);
      }
    }
  }
}

void CheckJson(const std::string& output, const vread::Mailbox& box) {
  nlohmann::json j;
  ASSERT_NO_THROW(j = nlohmann::json::parse(output)) << output;
  EXPECT_EQ(j["status"], "complete");
  EXPECT_TRUE(j["violations"].empty()) << j["violations"].dump();
  EXPECT_TRUE(j["warnings"].empty()) << j["warnings"].dump();
  ASSERT_EQ(j["folders"].size(), box.folders().size());
  for (size_t i = 0; i < box.folders().size(); ++i)
    EXPECT_EQ(j["folders"][i]["nid"], vread::hex(box.folders()[i].nid));
}

TEST(InspectSweep, RandomMailboxesWithBadUtf8AreCompleteInTextAndJson) {
  testutil::TempDir dir;
  int withBadNames = 0;
  for (int seed = 1; seed <= kMailboxes; ++seed) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    const std::string path = dir.File("m" + std::to_string(seed) + ".pst");
    const Written written = WriteSmallMailbox(static_cast<uint32_t>(seed), path);
    const vread::Mailbox box = apitest::OpenChecked(path);
    CheckAttachmentNames(box, written);
    for (const auto& kv : written.attachmentNames)
      for (const auto& name : kv.second) withBadNames += !ValidUtf8(name);

    e2e::InspectClean(path, dir.File("text.out"));
    std::string json;
    EXPECT_EQ(e2e::RunInspect("--json " + Quoted(path), dir.File("json.out"), &json), 0) << json;
    CheckJson(json, box);
    if (HasFailure()) break;
  }
  EXPECT_GT(withBadNames, kMailboxes / 2);
}

}  // namespace
