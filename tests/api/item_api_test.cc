// Messages and events through the public header, read back from the file.
#include <dlfcn.h>

#include <algorithm>
#include <chrono>

#include "api_test_util.h"
#include "virel.h"

using namespace apitest;

namespace {

constexpr uint32_t kMessageClass = 0x001A001F;
constexpr uint32_t kSubject = 0x0037001F;

Bytes Pattern(size_t n, uint8_t seed) {
  Bytes b(n);
  for (size_t i = 0; i < n; ++i) b[i] = static_cast<uint8_t>(i * 13 + seed);
  return b;
}

// The terminated UTF-16 form of an ASCII file name.
Bytes Terminated(const std::string& ascii) {
  Bytes b = Utf16(ascii);
  b.push_back(0);
  b.push_back(0);
  return b;
}

struct Written {
  testutil::TempDir dir;
  std::string path = dir.File("items.pst");
};

}  // namespace

TEST(ApiItems, SharedSettersAreOneRoutineEach) {
  void* lib = dlopen(VIREL_SHARED_LIBRARY_FILE, RTLD_NOW);
  ASSERT_NE(lib, nullptr) << dlerror();
  const char* pairs[][2] = {
      {"virel_message_set_subject", "virel_event_set_subject"},
      {"virel_message_set_body_plain", "virel_event_set_body_plain"},
      {"virel_message_set_body_html", "virel_event_set_location"}};
  for (const auto& p : pairs) {
    void* a = dlsym(lib, p[0]);
    ASSERT_NE(a, nullptr) << p[0];
    EXPECT_EQ(a, dlsym(lib, p[1])) << p[1];
  }
  dlclose(lib);
}

TEST(ApiItems, MessageWithEveryFieldReadsBack) {
  Written out;
  virel_writer* w = virel_create_writer(out.path.c_str());
  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "Quarterly report");
  virel_message_set_body_plain(m, "Numbers attached.");
  virel_message_set_body_html(m, "<p>Numbers</p>");
  virel_message_set_sender(m, "Alice Able", "alice@example.com");
  virel_message_set_time(m, 1700000000);
  const int32_t types[] = {0, 1, 2, 3, 99};
  for (int i = 0; i < 5; ++i) {
    const std::string n = "R" + std::to_string(i);
    virel_message_add_recipient(m, n.c_str(), (n + "@example.com").c_str(), types[i]);
  }
  virel_message_add_recipient(m, NULL, "anon@example.com", 1);
  const size_t sizes[] = {1, 8176, 8177, 100 * 1024};
  for (size_t i = 0; i < 4; ++i) {
    const Bytes data = Pattern(sizes[i], static_cast<uint8_t>(i));
    virel_message_add_attachment(m, ("f" + std::to_string(i) + ".bin").c_str(),
                                 data.data(), data.size());
  }
  virel_message_add_attachment(m, "ignored", NULL, 10);
  virel_message_add_attachment(m, "ignored", "x", 0);
  virel_message_add_attachment(m, NULL, "xyz", 3);  // default name
  const uint64_t nid = virel_writer_add_message(w, NULL, m);
  virel_destroy_message(m);
  ASSERT_NE(nid, 0u);
  EXPECT_EQ(nid & 0x1F, 4u);
  virel_destroy_writer(w);

  const vread::Mailbox box = OpenChecked(out.path);
  const uint32_t id = static_cast<uint32_t>(nid);
  EXPECT_EQ(box.node(id)->parent, 0x202u);
  const auto pc = box.properties(id);
  ASSERT_TRUE(pc.has_value());
  EXPECT_EQ(Tags(*pc), (std::vector<uint32_t>{0x001A001F, 0x0037001F, 0x0042001F,
                                              0x0C1A001F, 0x0E1D001F, 0x1000001F,
                                              0x10130102}));
  EXPECT_EQ(Value(*pc, kMessageClass), Utf16("IPM.Note"));
  EXPECT_EQ(Value(*pc, 0x0E1D001F), Utf16("Quarterly report"));
  EXPECT_EQ(Value(*pc, 0x10130102), Bytes({'<', 'p', '>', 'N', 'u', 'm', 'b', 'e',
                                           'r', 's', '<', '/', 'p', '>'}));
  EXPECT_EQ(Value(*pc, 0x0042001F), Utf16("Alice Able"));

  // Subnodes ascend by NID: attachments 0x05.., tables 0x11 and 0x12.
  std::vector<uint32_t> subnids;
  for (const auto& s : box.subnodes(id)) subnids.push_back(s.nid);
  EXPECT_EQ(subnids, (std::vector<uint32_t>{0x05, 0x11, 0x12, 0x25, 0x45, 0x65, 0x85}));

  const auto recipients = box.subnodeTable(id, 0x12);
  ASSERT_TRUE(recipients.has_value());
  ASSERT_EQ(recipients->rows().size(), 6u);
  const uint32_t expected_types[] = {1, 1, 2, 3, 1, 1};
  for (uint32_t i = 0; i < 6; ++i) {
    const auto& row = recipients->rows()[i];
    EXPECT_EQ(row.rowId, i);
    EXPECT_EQ(recipients->u32(row, 0x0C150003), expected_types[i]) << i;
  }
  EXPECT_EQ(recipients->text(recipients->rows()[3], 0x3001001F), "R3");
  EXPECT_EQ(recipients->text(recipients->rows()[3], 0x39FE001F), "R3@example.com");
  EXPECT_EQ(recipients->cell(recipients->rows()[5], 0x3001001F), nullptr);

  const auto attachments = box.subnodeTable(id, 0x11);
  ASSERT_TRUE(attachments.has_value());
  ASSERT_EQ(attachments->rows().size(), 5u);
  for (uint32_t n = 0; n < 5; ++n) {
    const auto& row = attachments->rows()[n];
    const size_t size = n < 4 ? sizes[n] : 3;
    const std::string name = n < 4 ? "f" + std::to_string(n) + ".bin" : "attachment";
    EXPECT_EQ(row.rowId, (n << 5) | 5);
    EXPECT_EQ(attachments->u32(row, 0x0E210003), n);
    EXPECT_EQ(attachments->text(row, 0x3704001F), name);
    EXPECT_EQ(attachments->u32(row, 0x0E200003), size);
    EXPECT_EQ(attachments->u32(row, 0x37050003), 1u);

    const auto apc = box.subnodeProperties(id, (n << 5) | 5);
    ASSERT_TRUE(apc.has_value());
    EXPECT_EQ(Tags(*apc), (std::vector<uint32_t>{0x0E200003, 0x0E210003, 0x37010102,
                                                 0x3704001E, 0x37050003, 0x3707001E}));
    EXPECT_EQ(Value(*apc, 0x3704001E), Terminated(name));
    EXPECT_EQ(Value(*apc, 0x3707001E), Terminated(name));
    const Bytes bid = Value(*apc, 0x37010102);
    ASSERT_EQ(bid.size(), 8u);
    vread::Attachment ref;
    ref.dataBid = testutil::Le64(bid, 0);
    const auto data = box.attachmentData(ref);
    ASSERT_TRUE(data.has_value());
    EXPECT_EQ(*data, n < 4 ? Pattern(size, static_cast<uint8_t>(n))
                           : Bytes({'x', 'y', 'z'}));
  }
}

TEST(ApiItems, MessageDefaultsSimpleMessagesAndNullHandles) {
  Written out;
  virel_writer* w = virel_create_writer(out.path.c_str());
  virel_message* empty = virel_create_message();
  virel_message_set_subject(empty, NULL);
  const uint64_t bare = virel_writer_add_message(w, "Inbox", empty);
  // The shared setter for location sets a message's HTML body.
  virel_message* shared = virel_create_message();
  virel_event_set_location(reinterpret_cast<virel_event*>(shared), "<b>x</b>");
  virel_event_set_subject(reinterpret_cast<virel_event*>(shared), "via event setter");
  const uint64_t via = virel_writer_add_message(w, "Archive/2024", shared);
  const auto before = std::chrono::system_clock::now();
  const uint64_t simple = virel_add_message_simple(w, NULL, "Hi", NULL);
  EXPECT_NE(virel_add_message_simple(w, "Inbox", NULL, NULL), 0u);
  // A one-character subject sits in its record; its bytes equal the heap
  // ID of the body.
  const uint64_t at = virel_add_message_simple(w, "Inbox", "@", "the body text");

  EXPECT_EQ(virel_writer_add_message(NULL, "Inbox", empty), 0u);
  EXPECT_EQ(virel_writer_add_message(w, "Inbox", NULL), 0u);
  EXPECT_EQ(virel_add_message_simple(NULL, "Inbox", "a", "b"), 0u);
  virel_message_set_subject(NULL, "x");
  virel_message_set_sender(NULL, "a", "b");
  virel_message_set_time(NULL, 1);
  virel_message_add_recipient(NULL, "a", "b", 1);
  virel_message_add_attachment(NULL, "a", "b", 1);
  virel_destroy_message(NULL);
  virel_destroy_message(empty);
  virel_destroy_message(shared);
  virel_close(w);
  virel_message* late = virel_create_message();
  EXPECT_EQ(virel_writer_add_message(w, "Inbox", late), 0u);
  EXPECT_EQ(virel_add_message_simple(w, "Inbox", "late", "x"), 0u);
  virel_destroy_message(late);
  virel_destroy_writer(w);

  const vread::Mailbox box = OpenChecked(out.path);
  EXPECT_EQ(Tags(*box.properties(static_cast<uint32_t>(bare))),
            std::vector<uint32_t>{kMessageClass});
  EXPECT_EQ(box.node(static_cast<uint32_t>(bare))->bidSub, 0u);
  const auto pv = box.properties(static_cast<uint32_t>(via));
  EXPECT_EQ(Value(*pv, 0x10130102), Bytes({'<', 'b', '>', 'x', '<', '/', 'b', '>'}));
  EXPECT_EQ(Value(*pv, kSubject), Utf16("via event setter"));
  const auto ps = box.properties(static_cast<uint32_t>(simple));
  EXPECT_EQ(Tags(*ps), (std::vector<uint32_t>{kMessageClass, kSubject, 0x0E1D001F}));
  EXPECT_EQ(box.node(static_cast<uint32_t>(simple))->parent, 0x202u);
  EXPECT_EQ(box.recordBlock()->messages, 5u);
  const auto pat = box.properties(static_cast<uint32_t>(at));
  EXPECT_EQ(pat->find(kSubject)->hnid, 0x40u);
  EXPECT_EQ(pat->find(0x1000001F)->hnid, 0x40u);
  EXPECT_EQ(pat->text(kSubject), "@");
  EXPECT_EQ(pat->text(0x1000001F), "the body text");

  // Only the kept row of the simple message carries a time: now, in FILETIME.
  const auto rows = RecordBlocks(box, "LTPC");
  ASSERT_EQ(rows.size(), 2u);  // Inbox and Archive/2024
  const uint64_t now_ft =
      (std::chrono::duration_cast<std::chrono::seconds>(before.time_since_epoch()).count() +
       11644473600ull) * 10000000ull;
  bool found = false;
  const Bytes& inbox = rows[0];
  for (size_t i = 0; i + 12 <= inbox.size(); ++i) {
    if (testutil::Le32(inbox, i) == 0x00390040 && testutil::Le32(inbox, i + 4) == 8) {
      const uint64_t t = testutil::Le64(inbox, i + 8);
      if (t >= now_ft && t < now_ft + 600ull * 10000000ull) found = true;
    }
  }
  EXPECT_TRUE(found);
}

TEST(ApiItems, ItemsThatWouldBreakTheLayoutAreRefused) {
  Written out;
  virel_writer* w = virel_create_writer(out.path.c_str());
  const std::string big(40000, 'a');  // 80,000 bytes as UTF-16
  EXPECT_EQ(virel_add_message_simple(w, "Inbox", "big", big.c_str()), 0u);
  virel_message* many = virel_create_message();
  for (int i = 0; i < 339; ++i) virel_message_add_attachment(many, "a", "x", 1);
  EXPECT_EQ(virel_writer_add_message(w, "Inbox", many), 0u);
  virel_message* names = virel_create_message();
  for (int i = 0; i < 2000; ++i) {
    virel_message_add_recipient(names, "Recipient Name", "recipient@example.com", 1);
  }
  EXPECT_EQ(virel_writer_add_message(w, "Inbox", names), 0u);
  virel_event* e = virel_create_event();
  virel_event_set_location(e, big.c_str());
  EXPECT_EQ(virel_writer_add_event(w, "Calendar", e), 0u);
  virel_destroy_event(e);
  // A refused item leaves nothing behind; the writer goes on.
  virel_message* ok = virel_create_message();
  for (int i = 0; i < 3; ++i) virel_message_add_attachment(ok, "a", "x", 1);
  const uint64_t nid = virel_writer_add_message(w, "Inbox", ok);
  EXPECT_NE(nid, 0u);
  virel_destroy_message(many);
  virel_destroy_message(names);
  virel_destroy_message(ok);
  virel_destroy_writer(w);

  const vread::Mailbox box = OpenChecked(out.path);
  EXPECT_EQ(box.recordBlock()->messages, 1u);
  EXPECT_EQ(box.subnodes(static_cast<uint32_t>(nid)).size(), 4u);
  // Only the bookkeeping records are unreferenced: nothing of the refused
  // messages was written.
  for (const auto& b : box.unreferencedBlocks()) EXPECT_EQ(b.bid & 2, 2u);
}

TEST(ApiItems, MessageDrawsItsNidBeforeTheFoldersItsPathCreates) {
  Written out;
  virel_writer* w = virel_create_writer(out.path.c_str());
  virel_message* m = virel_create_message();
  const uint64_t message = virel_writer_add_message(w, "Projects/2024", m);
  const uint64_t projects = virel_create_folder(w, "Projects");
  const uint64_t year = virel_create_folder(w, "Projects/2024");
  // An event resolves its folder first: the folders come before it.
  virel_event* e = virel_create_event();
  const uint64_t event = virel_writer_add_event(w, "Work/Meetings", e);
  const uint64_t work = virel_create_folder(w, "Work");
  const uint64_t meetings = virel_create_folder(w, "Work/Meetings");
  virel_destroy_event(e);
  virel_destroy_message(m);
  virel_close(w);
  virel_destroy_writer(w);

  ASSERT_NE(message, 0u);
  ASSERT_NE(event, 0u);
  EXPECT_LT(message >> 5, projects >> 5);
  EXPECT_LT(projects >> 5, year >> 5);
  EXPECT_LT(work >> 5, meetings >> 5);
  EXPECT_LT(meetings >> 5, event >> 5);
  const vread::Mailbox box = OpenChecked(out.path);
  ASSERT_NE(box.node(static_cast<uint32_t>(message)), nullptr);
  EXPECT_EQ(box.node(static_cast<uint32_t>(message))->parent, year);
  EXPECT_EQ(box.node(static_cast<uint32_t>(event))->parent, meetings);
  ASSERT_NE(box.folder(static_cast<uint32_t>(year)), nullptr);
  ASSERT_EQ(box.folder(static_cast<uint32_t>(year))->items.size(), 1u);
}

TEST(ApiItems, RefusedMessageLeavesNoTraceButARefusedEventKeepsItsFolder) {
  const std::string big(40000, 'a');  // passes one heap page as UTF-16
  auto write = [&](const std::string& path, bool with_refused) {
    virel_writer* w = virel_create_writer(path.c_str());
    virel_message* m = virel_create_message();
    virel_message_set_subject(m, "kept");
    EXPECT_NE(virel_writer_add_message(w, "Inbox", m), 0u);
    if (with_refused) {
      virel_message* refused = virel_create_message();
      virel_message_set_body_plain(refused, big.c_str());
      EXPECT_EQ(virel_writer_add_message(w, "New/Deep", refused), 0u);
      virel_destroy_message(refused);
    }
    EXPECT_NE(virel_writer_add_message(w, "Other", m), 0u);
    virel_destroy_message(m);
    virel_close(w);
    virel_destroy_writer(w);
  };
  testutil::TempDir dir;
  write(dir.File("with.pst"), true);
  write(dir.File("without.pst"), false);
  EXPECT_EQ(testutil::ReadAll(dir.File("with.pst")),
            testutil::ReadAll(dir.File("without.pst")));

  Written out;
  virel_writer* w = virel_create_writer(out.path.c_str());
  virel_event* e = virel_create_event();
  virel_event_set_location(e, big.c_str());
  EXPECT_EQ(virel_writer_add_event(w, "Trips/2025", e), 0u);
  virel_destroy_event(e);
  virel_close(w);
  virel_destroy_writer(w);
  const vread::Mailbox box = OpenChecked(out.path);
  std::vector<std::string> names;
  for (const auto& f : box.folders()) names.push_back(f.name);
  EXPECT_NE(std::find(names.begin(), names.end(), "Trips"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "2025"), names.end());
}
