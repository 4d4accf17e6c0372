// Single-byte corruptions of a written file: each is reported by the reader
// at an offset inside the structure that was damaged, and virel-inspect
// rejects the file.
#include <fstream>
#include <functional>

#include "e2e/e2e_mailbox.h"

namespace {

using e2e::Bytes;

constexpr uint64_t kHeaderSize = 512;
constexpr uint64_t kMapPage = 0x4400;
constexpr uint64_t kPageSize = 512;
constexpr uint64_t kTrailerSize = 16;

uint64_t TrailerAt(const vread::BlockEntry& b) { return b.ib + ((b.cb + 63u) & ~63u); }

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

void PutLe32(Bytes& b, uint64_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + static_cast<size_t>(i)] = static_cast<uint8_t>(v >> (8 * i));
}

// A small mailbox: a folder, a message with recipient and a two-block
// attachment, an event.
uint64_t WriteSmallMailbox(const std::string& path) {
  virel_writer* w = virel_create_writer(path.c_str());
  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "Prüfung 日本");
  virel_message_set_body_plain(m, "Der Bericht liegt bei.");
  virel_message_set_body_html(m, "<p>Bericht</p>");
  virel_message_set_sender(m, "Anna Ärger", "anna@example.com");
  virel_message_add_recipient(m, "Bob", "bob@example.com", 2);
  const Bytes data(9000, 0x5A);
  virel_message_add_attachment(m, "bericht.bin", data.data(), data.size());
  const uint64_t nid = virel_writer_add_message(w, "Projekt ü", m);
  virel_destroy_message(m);
  virel_event* e = virel_create_event();
  virel_event_set_subject(e, "Treffen");
  virel_event_set_start_time(e, 1700000000);
  virel_event_set_end_time(e, 1700003600);
  virel_writer_add_event(w, nullptr, e);
  virel_destroy_event(e);
  virel_close(w);
  virel_destroy_writer(w);
  return nid;
}

struct Corruption {
  const char* what;
  uint64_t begin, end;  // the damaged structure
  std::function<void(Bytes&)> apply;
};

TEST(E2eCorruption, EverySingleByteCorruptionIsReportedWhereItHappened) {
  testutil::TempDir dir;
  const std::string path = dir.File("clean.pst");
  const uint32_t nid = static_cast<uint32_t>(WriteSmallMailbox(path));
  ASSERT_NE(nid, 0u);
  const vread::Mailbox box = apitest::OpenChecked(path);
  ASSERT_TRUE(box.complete());
  e2e::InspectClean(path, dir.File("clean.out"));
  const Bytes clean = testutil::ReadAll(path);

  ASSERT_GE(box.mapPageCount(), 1u);
  ASSERT_FALSE(box.bbtPages().empty());
  const vread::PageInfo page = box.bbtPages().front();
  const vread::NodeEntry* node = box.node(nid);
  ASSERT_NE(node, nullptr);
  const vread::BlockEntry* pc = nullptr;
  for (const auto& b : box.blocks())
    if (b.bid == node->bidData) pc = &b;
  ASSERT_NE(pc, nullptr);
  const vread::BlockEntry block = *pc;
  // Node data checksums cover the decoded bytes.
  const auto payload = box.blockPayload(block.bid);
  ASSERT_TRUE(payload.has_value());
  ASSERT_EQ(testutil::Le32(clean, TrailerAt(block) + 4), testutil::ReferenceCrc(payload->data(), payload->size()));

  const Corruption cases[] = {
      {"header, inside the partial-CRC range", 0, kHeaderSize, [](Bytes& b) { b[200] ^= 0x01; }},
      {"allocation-map page", kMapPage, kMapPage + kPageSize, [](Bytes& b) { b[kMapPage + 64] ^= 0x80; }},
      {"block B-tree page", page.ib, page.ib + kPageSize, [&](Bytes& b) { b[page.ib + 10] ^= 0x04; }},
      {"wSig of a data block's trailer", block.ib, TrailerAt(block) + kTrailerSize,
       [&](Bytes& b) { b[TrailerAt(block) + 2] ^= 0x10; }},
      // The heap's bSig, with the block checksum made to match again so only
      // the heap itself can give the damage away.
      {"property heap of a message", block.ib, block.ib + block.cb,
       [&](Bytes& b) {
         b[block.ib + 2] ^= 0x20;
         const auto damaged = vread::Mailbox::fromBytes(b).blockPayload(block.bid);
         ASSERT_TRUE(damaged.has_value());
         PutLe32(b, TrailerAt(block) + 4, testutil::ReferenceCrc(damaged->data(), damaged->size()));
       }},
  };
  for (const Corruption& c : cases) {
    SCOPED_TRACE(c.what);
    Bytes bytes = clean;
    c.apply(bytes);
    ASSERT_TRUE(bytes != clean);
    const std::string copy = dir.File("corrupt.pst");
    WriteFile(copy, bytes);
    const vread::Mailbox damaged = vread::Mailbox::open(copy);
    EXPECT_EQ(damaged.loadError(), "");
    EXPECT_FALSE(damaged.complete());
    bool inside = false;
    std::string all;
    for (const auto& v : damaged.violations()) {
      inside = inside || (v.offset >= c.begin && v.offset < c.end);
      all += vread::hex(v.offset) + " " + v.message + "\n";
    }
    EXPECT_TRUE(inside) << "damaged [" << vread::hex(c.begin) << ", " << vread::hex(c.end)
                        << "), reported:\n"
                        << all;
    std::string out;
    EXPECT_EQ(e2e::RunInspect(e2e::Quoted(copy), dir.File("corrupt.out"), &out), 1) << out;
  }
}

}  // namespace
