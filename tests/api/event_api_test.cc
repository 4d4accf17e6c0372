// Calendar events, the name-to-ID map and the kept row blocks.
#include <map>

#include "api_test_util.h"
#include "virel.h"

using namespace apitest;

namespace {

constexpr uint64_t kFiletime1970 = 116444736000000000ull;

// One row of a kept row block: item ID and its cells by key.
struct KeptRow {
  uint64_t id;
  std::map<uint32_t, Bytes> cells;
};

// Parses an "LTPC" payload: magic, key, rows of (id, cells).
std::vector<KeptRow> ParseRows(const Bytes& p, uint64_t* key) {
  std::vector<KeptRow> rows;
  *key = testutil::Le64(p, 4);
  const uint32_t count = testutil::Le32(p, 12);
  size_t at = 16;
  for (uint32_t r = 0; r < count; ++r) {
    KeptRow row{testutil::Le64(p, at), {}};
    const uint32_t cells = testutil::Le32(p, at + 8);
    at += 12;
    for (uint32_t c = 0; c < cells; ++c) {
      const uint32_t tag = testutil::Le32(p, at);
      const uint32_t len = testutil::Le32(p, at + 4);
      row.cells[tag] = Bytes(p.begin() + at + 8, p.begin() + at + 8 + len);
      at += 8 + len;
    }
    rows.push_back(row);
  }
  EXPECT_EQ(at, p.size());
  return rows;
}

virel_event* MakeEvent(const char* subject, int64_t start, int64_t end) {
  virel_event* e = virel_create_event();
  virel_event_set_subject(e, subject);
  virel_event_set_start_time(e, start);
  virel_event_set_end_time(e, end);
  return e;
}

}  // namespace

TEST(ApiEvents, EventsCarryTheirNamedPropertiesAndFolders) {
  testutil::TempDir dir;
  const std::string path = dir.File("events.pst");
  virel_writer* w = virel_create_writer(path.c_str());
  virel_event* e = MakeEvent("Planning", 1700000000, 1700005400);
  virel_event_set_body_plain(e, "Agenda");
  virel_message_set_body_html(reinterpret_cast<virel_message*>(e), "Room 4");
  virel_event_set_organizer(e, "Olga", "olga@example.com");
  virel_event_set_busy_status(e, 3);
  virel_event_set_meeting_status(e, 5);
  virel_event_set_all_day(e, 1);
  virel_event_add_attendee(e, "Ann", "ann@example.com", 1);
  virel_event_set_recurrence_weekly(e, 2, 0x2A);
  virel_event_set_recurrence_daily(e, 3);
  const uint64_t first = virel_writer_add_event(w, NULL, e);
  virel_destroy_event(e);

  virel_event* backwards = MakeEvent(NULL, 1700000000, 1700000000 - 90);
  const uint64_t second = virel_writer_add_event(w, "/Calendar/", backwards);
  const uint64_t meeting = virel_writer_add_event(w, "Work/Meetings", backwards);
  EXPECT_EQ(virel_writer_add_event(w, "Work", NULL), 0u);
  EXPECT_EQ(virel_writer_add_event(NULL, "Work", backwards), 0u);
  virel_destroy_event(backwards);
  virel_event_set_subject(NULL, "x");
  virel_event_set_start_time(NULL, 1);
  virel_event_set_organizer(NULL, "a", "b");
  virel_event_add_attendee(NULL, "a", "b", 1);
  virel_event_set_recurrence_daily(NULL, 1);
  virel_destroy_event(NULL);
  virel_destroy_writer(w);
  ASSERT_NE(first, 0u);
  ASSERT_NE(second, 0u);
  ASSERT_NE(meeting, 0u);

  const vread::Mailbox box = OpenChecked(path);
  const vread::Folder* calendar = box.folder(box.node(static_cast<uint32_t>(first))->parent);
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(calendar->name, "Calendar");
  EXPECT_EQ(calendar->parent, 0x2442u);
  EXPECT_EQ(calendar->containerClass, "IPF.Appointment");
  EXPECT_EQ(calendar->items.size(), 2u);
  EXPECT_EQ(box.node(static_cast<uint32_t>(second))->parent, calendar->nid);
  const vread::Folder* meetings = box.folder(box.node(static_cast<uint32_t>(meeting))->parent);
  ASSERT_NE(meetings, nullptr);
  EXPECT_EQ(meetings->name, "Meetings");
  EXPECT_EQ(box.folder(meetings->parent)->name, "Work");
  EXPECT_EQ(box.folder(meetings->parent)->containerClass, "IPF.Note");

  // Eight named properties, numbered in the order first requested.
  const auto& names = box.nameMap();
  ASSERT_EQ(names.entries().size(), 8u);
  ASSERT_EQ(names.guids().size(), 2u);
  const uint32_t dispids[] = {0x820D, 0x820E, 0x8213, 0x8208, 0x8205, 0x8217, 0x8503, 0x8501};
  for (uint16_t i = 0; i < 8; ++i) {
    EXPECT_EQ(names.entries()[i].dispid, dispids[i]);
    EXPECT_EQ(names.entries()[i].index, i);
    EXPECT_EQ(names.entries()[i].wGuid, i < 6 ? 3 : 4);
  }
  const auto map_pc = box.properties(0x61);
  EXPECT_EQ(Value(*map_pc, 0x00020102).size(), 32u);
  EXPECT_EQ(Value(*map_pc, 0x00030102).size(), 64u);
  EXPECT_EQ(map_pc->find(0x00040102), nullptr);

  const auto pc = box.properties(static_cast<uint32_t>(first));
  EXPECT_EQ(Tags(*pc), (std::vector<uint32_t>{
                           0x001A001F, 0x0037001F, 0x0042001F, 0x0065001F,
                           0x0C1A001F, 0x0C1F001F, 0x0E1D001F, 0x1000001F,
                           0x80000040, 0x80010040, 0x80020003, 0x8003001F,
                           0x80040003, 0x80050003, 0x8006000B, 0x80070003}));
  EXPECT_EQ(Value(*pc, 0x001A001F), Utf16("IPM.Appointment"));
  EXPECT_EQ(Value(*pc, 0x0065001F), Utf16("olga@example.com"));
  EXPECT_EQ(Value(*pc, 0x80000040), Le64(kFiletime1970 + 1700000000ull * 10000000));
  EXPECT_EQ(Value(*pc, 0x80010040), Le64(kFiletime1970 + 1700005400ull * 10000000));
  EXPECT_EQ(Value(*pc, 0x80020003), Le32(90));
  EXPECT_EQ(Value(*pc, 0x8003001F), Utf16("Room 4"));
  EXPECT_EQ(Value(*pc, 0x80040003), Le32(3));
  EXPECT_EQ(Value(*pc, 0x80050003), Le32(4));
  EXPECT_EQ(Value(*pc, 0x8006000B), Bytes({1, 0, 0, 0}));  // 2 bytes, inline
  EXPECT_EQ(Value(*pc, 0x80070003), Le32(15));

  // Defaults, no empty strings, and a negative duration.
  const auto pc2 = box.properties(static_cast<uint32_t>(second));
  EXPECT_EQ(pc2->all().size(), 8u);
  EXPECT_EQ(Value(*pc2, 0x80020003), Le32(static_cast<uint32_t>(-1)));
  EXPECT_EQ(Value(*pc2, 0x80040003), Le32(2));
  EXPECT_EQ(Value(*pc2, 0x80050003), Le32(0));
  EXPECT_EQ(box.node(static_cast<uint32_t>(second))->bidSub, 0u);
  EXPECT_EQ(box.recordBlock()->events, 3u);

  // The kept rows of the calendar: class, subject, start, end, location.
  std::map<uint64_t, std::vector<KeptRow>> groups;
  for (const Bytes& payload : RecordBlocks(box, "LTPC")) {
    uint64_t key;
    auto rows = ParseRows(payload, &key);
    groups[key] = rows;
  }
  ASSERT_EQ(groups.size(), 2u);
  const auto& cal_rows = groups.begin()->second;
  ASSERT_EQ(cal_rows.size(), 2u);
  EXPECT_EQ(cal_rows[0].id, first);
  EXPECT_EQ(cal_rows[0].cells.size(), 5u);
  EXPECT_EQ(cal_rows[0].cells.at(0x001A001F), Utf16("IPM.Appointment"));
  EXPECT_EQ(cal_rows[0].cells.at(0x0037001F), Utf16("Planning"));
  EXPECT_EQ(cal_rows[0].cells.at(0x80000040), Le64(kFiletime1970 + 1700000000ull * 10000000));
  EXPECT_EQ(cal_rows[0].cells.at(0x8003001F), Utf16("Room 4"));
  EXPECT_EQ(cal_rows[1].cells.size(), 3u);  // no subject, no location
}

TEST(ApiEvents, KeptMessageRowsHoldTheMessageCells) {
  testutil::TempDir dir;
  const std::string path = dir.File("rows.pst");
  virel_writer* w = virel_create_writer(path.c_str());
  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "S");
  virel_message_set_sender(m, "", "s@example.com");
  virel_message_set_time(m, 60);
  virel_message_add_recipient(m, "Ann", "a@example.com", 1);
  virel_message_add_recipient(m, "Bo", "b@example.com", 3);
  virel_message_add_attachment(m, "x", "x", 1);
  const uint64_t nid = virel_writer_add_message(w, "Inbox", m);
  virel_destroy_message(m);
  virel_event* e = MakeEvent("E", 0, 0);
  virel_writer_add_event(w, NULL, e);
  virel_writer_add_event(w, NULL, e);
  virel_destroy_event(e);
  virel_destroy_writer(w);

  const vread::Mailbox box = OpenChecked(path);
  // The second event added no named properties.
  EXPECT_EQ(box.nameMap().entries().size(), 8u);
  EXPECT_EQ(RecordBlocks(box, "CTBL").size(), 1u);
  const auto payloads = RecordBlocks(box, "LTPC");
  ASSERT_EQ(payloads.size(), 2u);
  uint64_t key;
  const auto rows = ParseRows(payloads[0], &key);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].id, nid);
  const std::map<uint32_t, Bytes> expected = {
      {0x001A001F, Utf16("IPM.Note")},
      {0x0037001F, Utf16("S")},
      {0x0C1F001F, Utf16("s@example.com")},
      {0x00390040, Le64(kFiletime1970 + 60ull * 10000000)},
      {0x0E070003, Le32(1)},
      {0x0E1B000B, Le32(1)},
      {0x0E04001F, Utf16("Ann; Bo")}};
  EXPECT_EQ(rows[0].cells, expected);
}
