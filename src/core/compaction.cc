#include "core/compaction.h"

#include <deque>
#include <unordered_set>

#include "ltp/utf8.h"
#include "messaging/folder_writer.h"
#include "messaging/property_tags.h"

namespace virel {
namespace {

using Cells = ItemRowCells;

constexpr uint32_t kMessageFlagRead = 1;
constexpr size_t kMessageRowCells = 9;  // the most a message's row has
constexpr size_t kEventRowCells = 5;
constexpr size_t kGroupSetBuckets = 8;
constexpr char kDisplayToSeparator[] = "; ";

// Task and journal dispids listed in the task and activity rows.
constexpr uint32_t kTaskDispids[] = {0x8101, 0x8104, 0x8105};
constexpr uint16_t kTaskTypes[] = {tag::kTypeLong, tag::kTypeSysTime,
                                   tag::kTypeSysTime};
constexpr uint32_t kLogDispids[] = {0x8700, 0x8706, 0x8708};
constexpr uint16_t kLogTypes[] = {tag::kTypeUnicode, tag::kTypeSysTime,
                                  tag::kTypeSysTime};


// String cells are left out when empty.
void AddString(Cells* cells, uint32_t t, const std::string& s) {
  if (!s.empty()) cells->emplace_back(t, ltp::Utf8ToUtf16(s));
}

// A cell with the bag's value of `t`, moved out, when the bag has it.
void AddFromBag(Cells* cells, ltp::PropertyBag* bag, uint32_t t) {
  Bytes value;
  if (bag->Take(t, &value)) cells->emplace_back(t, std::move(value));
}

// A text cell: taken from the bag the item was written from, which holds
// it converted, or else converted here.
void AddText(Cells* cells, ltp::PropertyBag* bag, uint32_t t, const std::string& s) {
  if (bag != nullptr) {
    AddFromBag(cells, bag, t);
  } else {
    AddString(cells, t, s);
  }
}

Bytes ZeroValue(uint16_t type) {
  return Bytes(type == tag::kTypeSysTime ? 8 : 4, 0);
}

}  // namespace

StoredMessage StoreMessage(const ItemResult& result, const MessageRecord& m,
                           ltp::PropertyBag* properties) {
  return {result, MessageRowCells(m, properties)};
}

StoredEvent StoreEvent(const EventResult& result, const EventRecord& e,
                       ltp::PropertyBag* properties, NamedPropertyMap* names) {
  return {result, EventRowCells(e, properties, names)};
}

void RecordBlockWriter::WriteAll() {
  WriteFolderRecords();
  const std::vector<ndb::ContentListRef> lists = WriteContentLists();
  if (!lists.empty()) Write(ndb::ContentTableIndexPayload(lists));
  WriteRowBlocks();
}

ndb::Bref RecordBlockWriter::Write(const Bytes& payload) {
  // Internal BIDs, but encoded like node data.
  return writer_->WriteBlock(payload, true, true);
}

void RecordBlockWriter::WriteFolderRecords() {
  for (uint64_t id : folders_.SortedIds()) {
    const Folder* f = folders_.Get(id);
    Write(ndb::FolderRecordPayload(f->id, f->parent_id, f->name, f->children));
  }
}

std::vector<ndb::ContentListRef> RecordBlockWriter::WriteContentLists() {
  std::vector<ndb::ContentListRef> lists;
  for (const auto& entry : contents_) {  // ascending folder ID
    std::vector<ndb::ContentEntry> records;
    for (const ContentRecord& r : entry.second) records.push_back({r.nid, r.kind});
    const ndb::Bref ref = Write(ndb::ContentListPayload(entry.first, records));
    lists.push_back({entry.first, ref.ib});
  }
  return lists;
}

void RecordBlockWriter::WriteRowBlocks() {
  std::unordered_set<uint64_t> seen;
  seen.max_load_factor(1.0f);
  seen.rehash(kGroupSetBuckets);
  for (const auto& entry : contents_) {
    if (!seen.insert(entry.first).second) continue;
    // A message's row is referred to where it is kept; other rows are
    // built here and live until the group's block is written.
    std::deque<Cells> built;
    std::vector<ndb::RecordRow> rows;
    for (const ContentRecord& r : entry.second) {
      const Cells* cells = StoredRow(r);
      if (cells == nullptr) {
        built.push_back(RowCells(r));
        cells = &built.back();
      }
      if (!cells->empty()) rows.push_back({r.nid, cells});
    }
    // Internal BIDs, encoded like node data; built in the block itself.
    writer_->WriteBlock(ndb::RowBlockSize(rows), true, true,
                        [&](uint8_t* out) { ndb::PutRowBlock(out, entry.first, rows); });
  }
}

const ItemRowCells* RecordBlockWriter::StoredRow(const ContentRecord& r) const {
  if (r.kind == kContentMessage) return &items_.messages.at(r.nid).row;
  if (r.kind == kContentEvent) return &items_.events.at(r.nid).row;
  return nullptr;
}

Cells MessageRowCells(const MessageRecord& m, ltp::PropertyBag* properties) {
  Cells cells;
  cells.reserve(kMessageRowCells);
  AddText(&cells, properties, tag::kMessageClass, MessageClassOf(kContentMessage));
  AddText(&cells, properties, tag::kSubject, m.subject);
  AddText(&cells, properties, tag::kSenderName, m.sender_name);
  AddString(&cells, tag::kSenderEmail, m.sender_address);
  AddText(&cells, properties, tag::kBody, m.body_plain);
  cells.emplace_back(tag::kClientSubmitTime, Fixed64Bytes(TicksToFiletime(m.time)));
  cells.emplace_back(tag::kMessageFlags, Fixed32Bytes(kMessageFlagRead));
  if (!m.attachments.empty()) cells.emplace_back(tag::kHasAttachments, Fixed32Bytes(1));
  std::string display_to;
  for (size_t i = 0; i < m.recipients.size(); ++i) {
    if (i > 0) display_to += kDisplayToSeparator;
    display_to += m.recipients[i].name;
  }
  AddString(&cells, tag::kDisplayTo, display_to);
  return cells;
}

Cells EventRowCells(const EventRecord& e, ltp::PropertyBag* properties,
                    NamedPropertyMap* names) {
  const uint16_t start =
      names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentStartWhole);
  const uint16_t end =
      names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentEndWhole);
  const uint16_t location =
      names->GetOrAssign(kPsetidAppointment, dispid::kLocation);
  const uint32_t location_tag = tag::Named(location, tag::kTypeUnicode);
  Cells cells;
  cells.reserve(kEventRowCells);
  AddText(&cells, properties, tag::kMessageClass, MessageClassOf(kContentEvent));
  AddText(&cells, properties, tag::kSubject, e.subject);
  cells.emplace_back(tag::Named(start, tag::kTypeSysTime), Fixed64Bytes(TicksToFiletime(e.start)));
  cells.emplace_back(tag::Named(end, tag::kTypeSysTime), Fixed64Bytes(TicksToFiletime(e.end)));
  AddText(&cells, properties, location_tag, e.location());
  return cells;
}

size_t RowSize(const Cells& cells) { return ndb::RecordRowSize(cells); }

std::vector<std::pair<uint32_t, Bytes>> RecordBlockWriter::RowCells(
    const ContentRecord& r) {
  if (r.kind == kContentMessage) return items_.messages.at(r.nid).row;
  if (r.kind == kContentEvent) return items_.events.at(r.nid).row;
  Cells cells;
  const char* message_class = MessageClassOf(r.kind);
  if (*message_class == '\0') return cells;
  cells.emplace_back(tag::kMessageClass, ltp::Utf8ToUtf16(message_class));
  const bool task = r.kind == kContentTask;
  const Guid& set = task ? kPsetidTask : kPsetidLog;
  const uint32_t* dispids = task ? kTaskDispids : kLogDispids;
  const uint16_t* types = task ? kTaskTypes : kLogTypes;
  for (int i = 0; i < 3; ++i) {
    const uint16_t id = names_->GetOrAssign(set, dispids[i]);
    if (types[i] != tag::kTypeUnicode) {  // an empty string is left out
      cells.emplace_back(tag::Named(id, types[i]), ZeroValue(types[i]));
    }
  }
  return cells;
}

}  // namespace virel
