// The capacity check against real closes: random mailboxes are filled until
// the check calls the file full, then closed and read back.
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "core/capacity.h"
#include "core/errors.h"
#include "core/writer_impl.h"
#include "mailbox.h"
#include "messaging/folder_writer.h"
#include "messaging/store_writer.h"
#include "ndb/data_writer.h"
#include "ndb/map_pages.h"
#include "ndb/record_blocks.h"
#include "test_util.h"

using namespace virel;

namespace {

// One attempted add, replayed into further writers.
struct Planned {
  std::string path;
  bool is_event = false;
  MessageRecord message;
  EventRecord event;
};

// What a random mailbox is made of, in percent per item.
struct Profile {
  const char* name;
  int events;
  int new_folder;
  int recipients;
  int attachments;
  int64_t attachment_max;  // bytes
  int long_body;
  int long_folder_name;
  int oversized;  // texts, tables or attachment counts around one page
};

// Writers whose close failed cannot be destroyed: they live to the end.
void KeepAlive(std::unique_ptr<Virel::Impl> writer) {
  static auto* kept = new std::vector<std::unique_ptr<Virel::Impl>>();
  kept->push_back(std::move(writer));
}

class ItemSource {
 public:
  ItemSource(uint32_t seed, const Profile& p) : rng_(seed), p_(p) {}

  Planned Next() {
    Planned item;
    item.is_event = Chance(p_.events);
    item.path = Path(item.is_event);
    const bool oversized = Chance(p_.oversized);
    if (item.is_event) {
      EventRecord& e = item.event;
      e.subject = Text(0, 60);
      e.body_plain = oversized ? Text(24000, 32000) : Text(0, 400);
      e.third_text = Text(0, 40);
      e.organizer_name = Text(0, 20);
      e.organizer_address = Text(0, 20);
      e.start = Uniform(0, 2000000000) * kTicksPerSecond;
      e.end = e.start + Uniform(0, 86400) * kTicksPerSecond;
      return item;
    }
    MessageRecord& m = item.message;
    m.subject = Text(0, 80);
    m.body_plain = Text(0, Chance(p_.long_body) ? 12000 : 300);
    if (Chance(p_.long_body)) m.third_text = Text(1, 3000);
    m.sender_name = Text(0, 20);
    m.sender_address = Text(0, 30);
    for (int n = Chance(p_.recipients) ? static_cast<int>(Uniform(1, 6)) : 0; n > 0; --n) {
      m.recipients.push_back({Text(0, 20), Text(1, 30),
                              static_cast<RecipientKind>(Uniform(0, 2))});
    }
    if (Chance(p_.attachments)) {
      for (int n = static_cast<int>(Uniform(1, 4)); n > 0; --n) {
        m.attachments.push_back(
            {Text(0, 30), Bytes(static_cast<size_t>(Uniform(0, p_.attachment_max)), 0x5A)});
        // Size 0 is not possible through the C interface, but internally.
      }
    }
    if (oversized) Oversize(&m);
    return item;
  }

 private:
  bool Chance(int percent) { return Uniform(0, 99) < percent; }
  int64_t Uniform(int64_t lo, int64_t hi) {
    return std::uniform_int_distribution<int64_t>(lo, hi)(rng_);
  }

  // Mixed widths, so UTF-8 and UTF-16 sizes differ. Empty or at least
  // three pieces: shorter texts can read back ambiguously.
  std::string Text(int64_t min, int64_t max) {
    static const char* const kPieces[] = {"a", "Z", "7", " ", "ü", "日", "😀"};
    std::string s;
    int64_t n = Uniform(min, max);
    if (n > 0 && n < 3) n = 3;
    for (; n > 0; --n) s += kPieces[Uniform(0, 6)];
    return s;
  }

  std::string Path(bool event) {
    static const char* const kTops[] = {"Inbox", "Archiv", "Kalender", "Drafts", ""};
    if (Chance(p_.long_folder_name)) return std::string("Lang/") + Text(1500, 2500);
    if (event && Chance(40)) return "Calendar";
    if (!paths_.empty() && !Chance(p_.new_folder)) {
      return paths_[static_cast<size_t>(Uniform(0, static_cast<int64_t>(paths_.size()) - 1))];
    }
    std::string path = kTops[Uniform(0, 4)];
    for (int64_t depth = Uniform(0, 2); depth > 0; --depth) path += "/" + Text(1, 12);
    paths_.push_back(path);
    return path;
  }

  // Sizes around what one heap page, one table or one subnode list holds.
  void Oversize(MessageRecord* m) {
    switch (Uniform(0, 3)) {
      case 0: m->body_plain = Text(16000, 20000); m->subject = Text(4000, 6000); break;
      case 1:
        m->recipients.clear();
        for (int64_t n = Uniform(600, 800); n > 0; --n) m->recipients.push_back({Text(10, 30), Text(10, 30)});
        break;
      case 2: m->attachments.assign(static_cast<size_t>(Uniform(339, 341)), {"a.txt", Bytes(1, 1)}); break;
      default: m->attachments.assign(1, {Text(13500, 15500), Bytes(100, 1)}); break;
    }
  }

  std::mt19937 rng_;
  Profile p_;
  std::vector<std::string> paths_;
};

Fit Check(const Virel::Impl& w, const Planned& item) {
  return item.is_event ? w.CheckEvent(item.path, item.event)
                       : w.CheckMessage(item.path, item.message);
}

uint64_t Add(Virel::Impl* w, const Planned& item) {
  return item.is_event ? w->AddEvent(item.path, item.event)
                       : w->AddMessage(item.path, item.message);
}

struct Attempt {
  Planned item;
  bool refused;
};

// Replays the attempts: refused ones must throw, the others are taken.
void Replay(Virel::Impl* w, const std::vector<Attempt>& attempts) {
  for (const Attempt& a : attempts) {
    if (a.refused) {
      EXPECT_ANY_THROW(Add(w, a.item));
    } else {
      Add(w, a.item);
    }
  }
}

// Fills a writer with checked items up to the first one the check calls
// too many for the file; returns close's error with that item added.
std::string FillToTheEdge(const Profile& p, uint32_t seed) {
  SCOPED_TRACE(std::string(p.name) + " seed " + std::to_string(seed));
  testutil::TempDir dir;
  const std::string checked_path = dir.File("checked.pst");
  Virel::Impl checked(checked_path);
  ItemSource source(seed, p);
  std::vector<Attempt> attempts;
  std::optional<Planned> overflow;
  int refused = 0;
  while (!overflow && attempts.size() < 3000) {
    Planned item = source.Next();
    const uintmax_t size_before = std::filesystem::file_size(checked_path);
    const Fit fit = Check(checked, item);
    EXPECT_EQ(std::filesystem::file_size(checked_path), size_before);
    if (fit == Fit::kFileFull) {
      overflow = std::move(item);
    } else if (fit == Fit::kItemRefused) {
      EXPECT_ANY_THROW(Add(&checked, item));
      attempts.push_back({std::move(item), true});
      ++refused;
    } else {
      EXPECT_NO_THROW(Add(&checked, item));
      attempts.push_back({std::move(item), false});
    }
  }
  EXPECT_TRUE(overflow.has_value());
  if (p.oversized > 0) {
    EXPECT_GT(refused, 0);
  }
  if (!overflow) return "";

  // The last accepted item still closes, into the counts predicted.
  const CapacityUse predicted = checked.PredictClose();
  EXPECT_NO_THROW(checked.close());
  const vread::Mailbox box = vread::Mailbox::open(checked_path);
  EXPECT_EQ(box.loadError(), "");
  EXPECT_TRUE(box.complete());
  for (const auto& v : box.violations()) ADD_FAILURE() << v.offset << ": " << v.message;
  EXPECT_EQ(box.nodes().size(), predicted.nodes);
  EXPECT_EQ(box.blocks().size(), predicted.blocks);

  // Checks drew nothing: the same items unchecked give the same bytes.
  const std::string plain_path = dir.File("plain.pst");
  {
    Virel::Impl plain(plain_path);
    Replay(&plain, attempts);
  }
  EXPECT_TRUE(testutil::ReadAll(plain_path) == testutil::ReadAll(checked_path));

  // The item turned away is fine in itself but makes close fail.
  // The failed writer stays alive with its file open, so each call needs a
  // name of its own (Windows cannot remove an open file).
  static int calls = 0;
  auto over = std::make_unique<Virel::Impl>(
      dir.File("over" + std::to_string(++calls) + ".pst"));
  Replay(over.get(), attempts);
  EXPECT_NO_THROW(Add(over.get(), *overflow));
  std::string error;
  try {
    over->close();
  } catch (const FileIOException& e) {
    error = e.what();
  }
  EXPECT_NE(error, "");
  if (!error.empty()) KeepAlive(std::move(over));
  return error;
}

TEST(CoreCapacity, LastAcceptedItemClosesAndFirstTurnedAwayWouldNot) {
  const Profile profiles[] = {
      // name, events, new folder, recipients, attachments up to, long
      // bodies, long folder names, oversized
      {"small messages", 10, 1, 0, 0, 0, 0, 0, 0},
      {"attachments", 5, 5, 50, 70, 40000, 10, 0, 0},
      {"folders", 20, 45, 30, 10, 9000, 5, 0, 0},
      {"events", 75, 10, 50, 10, 20000, 10, 0, 0},
      {"long folder names", 10, 5, 20, 5, 2000, 5, 40, 0},
      {"oversized items", 20, 10, 50, 20, 20000, 10, 0, 30},
  };
  std::set<std::string> limits;
  uint32_t seed = 0;
  for (const Profile& p : profiles) {
    const std::string error = FillToTheEdge(p, ++seed);
    for (const char* limit : {"NBT", "BBT", "heap page"}) {
      if (error.find(limit) != std::string::npos) limits.insert(limit);
    }
  }
  // Every kind of limit close has was reached.
  EXPECT_EQ(limits, (std::set<std::string>{"NBT", "BBT", "heap page"}));
}

TEST(CoreCapacity, BookkeepingRowsMustLeaveTheMapPagesTheirRoom) {
  // A sender address reaches only the bookkeeping rows, so no block limit
  // stops it; the map pages describing the grown file are the limit.
#ifndef NDEBUG
  GTEST_SKIP() << "converts some 50 MB of text: optimised builds only";
#endif
  testutil::TempDir dir;
  const std::string path = dir.File("senders.pst");
  MessageRecord m;
  m.subject = "Absender";
  for (int n = 0; n < 1000000; ++n) m.sender_address += "😀";
  Virel::Impl w(path);
  int added = 0;
  while (w.CheckMessage("Inbox", m) == Fit::kFits && added < 20) {
    w.AddMessage("Inbox", m);
    ++added;
  }
  EXPECT_EQ(w.CheckMessage("Inbox", m), Fit::kFileFull);
  const CapacityUse predicted = w.PredictClose();
  w.close();
  const vread::Mailbox box = vread::Mailbox::open(path);
  EXPECT_TRUE(box.complete());
  EXPECT_TRUE(box.violations().empty());
  EXPECT_EQ(box.nodes().size(), predicted.nodes);
  EXPECT_EQ(box.blocks().size(), predicted.blocks);

  auto over = std::make_unique<Virel::Impl>(dir.File("over.pst"));
  for (int n = 0; n <= added; ++n) over->AddMessage("Inbox", m);
  try {
    over->close();
    ADD_FAILURE() << "closed with " << added + 1 << " messages";
  } catch (const FileIOException& e) {
    EXPECT_NE(std::string(e.what()).find("allocation map"), std::string::npos) << e.what();
    KeepAlive(std::move(over));
  }
}

TEST(CoreCapacity, PredictsAFreshWriterAndRefusesOnAClosedOne) {
  testutil::TempDir dir;
  const std::string path = dir.File("empty.pst");
  Virel::Impl w(path);
  const CapacityUse predicted = w.PredictClose();
  w.close();
  const vread::Mailbox box = vread::Mailbox::open(path);
  EXPECT_TRUE(box.complete());
  EXPECT_EQ(box.nodes().size(), predicted.nodes);
  EXPECT_EQ(box.blocks().size(), predicted.blocks);
  EXPECT_THROW(w.CheckMessage("Inbox", MessageRecord()), std::logic_error);
  EXPECT_THROW(w.CheckEvent("", EventRecord()), std::logic_error);
}

TEST(CoreCapacity, PlannedSizesMatchWhatIsBuilt) {
  EXPECT_EQ(ndb::FolderRecordPayload(1, 2, "Ordner", {3, 4}).size(),
            ndb::FolderRecordSize(6, 2));
  EXPECT_EQ(ndb::ContentListPayload(1, {{5, 1}, {6, 2}}).size(), ndb::ContentListSize(2));
  EXPECT_EQ(ndb::ContentTableIndexPayload({{1, 2}, {3, 4}}).size(),
            ndb::ContentTableIndexSize(2));
  // A row: ID and cell count (12), then key, length and value per cell.
  const ndb::RecordCells cells{{1, Bytes(3, 0)}, {2, Bytes()}};
  const ndb::RecordRow row{7, &cells};
  EXPECT_EQ(ndb::RecordRowSize(cells), 12u + (8 + 3) + 8);
  EXPECT_EQ(ndb::RowBlockPayload(9, {row, row}).size(),
            ndb::kRowBlockHeaderSize + 2 * ndb::RecordRowSize(cells));
  // One AMap page covers 496 * 8 units of 512 bytes; three fixed pages follow it.
  ndb::UnitBitmap bits;
  for (uint64_t end : {uint64_t{512}, uint64_t{2031616}, uint64_t{2031617}, uint64_t{26411008}}) {
    bits.Mark(0, end);
    EXPECT_EQ(ndb::BuildMapPages(bits, ndb::kAMapStart).size(), ndb::MapPagesSize(end)) << end;
  }
  EXPECT_EQ(ndb::MapPagesSize(26411008), ndb::kMapAreaSize);
  EXPECT_GT(ndb::MapPagesSize(26411009), ndb::kMapAreaSize);
}

// A folder's contents table after `kinds`, measured by writing it.
ContentsTableSize ContentsTableOf(const std::vector<uint32_t>& kinds) {
  ndb::NodeRegistry nodes;
  FolderRegistry folders(&nodes);
  folders.CreateRoot(kRootFolderNid);
  const uint64_t folder = folders.Resolve("Ordner");
  ContentsRegistry contents;
  uint32_t nid = 0x200004;
  for (uint32_t kind : kinds) contents[folder].push_back({nid += 32, kind});
  ndb::NodeRegistry written;
  ndb::DataWriter counter(&written);
  ContentsTableSize size;
  WriteFolder(folders, contents, folder, &counter, &written, &size);
  return size;
}

TEST(CoreCapacity, ContentsTablesGrowWithinTheForecastsBounds) {
  // Forecasts take a table's size to follow from its row count and the
  // length of its message classes, and to grow by at most the bounds per
  // row: in any order of kinds, through the row index's levels.
  std::mt19937 rng(3);
  const uint32_t kinds[] = {kContentMessage, kContentEvent, kContentTask, kContentActivity};
  std::vector<uint32_t> rows;
  ContentsTableSize before = ContentsTableOf(rows);
  for (int n = 1; n <= 1500; ++n) {
    rows.push_back(kinds[rng() % 4]);
    const ContentsTableSize now = ContentsTableOf(rows);
    const size_t class_bytes = 2 * std::strlen(MessageClassOf(rows.back()));
    if (n > 1) {
      ASSERT_LE(now.heap_bytes, before.heap_bytes + class_bytes + kMaxContentsRowBytes) << n;
      ASSERT_LE(now.allocations, before.allocations + kMaxContentsRowAllocations) << n;
    }
    ASSERT_GE(now.heap_bytes, before.heap_bytes + class_bytes) << n;
    if (n % 100 == 0) {
      std::vector<uint32_t> shuffled = rows;
      std::shuffle(shuffled.begin(), shuffled.end(), rng);
      const ContentsTableSize same = ContentsTableOf(shuffled);
      EXPECT_EQ(same.heap_bytes, now.heap_bytes) << n;
      EXPECT_EQ(same.allocations, now.allocations) << n;
      FolderTally tally;
      for (uint32_t kind : rows) tally.Add(kind, 0);
      EXPECT_EQ(tally.class_units * 2, now.heap_bytes - ContentsTableOf(
          std::vector<uint32_t>(rows.size(), 0)).heap_bytes) << n;
    }
    before = now;
  }
}

TEST(CoreCapacity, MostAttachmentsOneMessageTakes) {
  testutil::TempDir dir;
  Virel::Impl w(dir.File("attachments.pst"));
  MessageRecord m;
  // Two blocks each: more than any file holds, but not refused.
  m.attachments.assign(338, {"a", Bytes(1, 1)});
  EXPECT_EQ(w.CheckMessage("Inbox", m), Fit::kFileFull);
  m.attachments.push_back({"b", Bytes()});
  EXPECT_EQ(w.CheckMessage("Inbox", m), Fit::kItemRefused);
  EXPECT_THROW(w.AddMessage("Inbox", m), SerializationException);
  m.attachments.resize(150);
  EXPECT_EQ(w.CheckMessage("Inbox", m), Fit::kFits);
}

}  // namespace
