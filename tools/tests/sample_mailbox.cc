#include "sample_mailbox.h"

namespace testimg {

namespace {

constexpr std::uint32_t kRoot = 0x2442;
constexpr std::uint32_t kName = 0x3001001F;
constexpr std::uint32_t kClass = 0x001A001F;
const std::uint8_t kAppointmentGuid[16] = {0x02, 0x20, 0x06, 0x00, 0x00, 0x00, 0x00, 0x00,
                                           0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46};

Bytes nameEntry(std::uint32_t dispid, std::uint16_t index) {
  Bytes e(8, 0);
  put32(e, 0, dispid);
  put16(e, 4, 3 << 1);  // first GUID of the stream
  put16(e, 6, index);
  return e;
}

std::uint64_t folderData(ImageBuilder& b, const std::string& name) {
  return b.addData(pcHeap({{kName, u16le(name)}, {0x3613001F, u16le("IPF.Note")}}));
}

std::uint64_t messageSubnodes(ImageBuilder& b, const SampleOptions& options) {
  Bytes file = options.attachmentName8;
  if (file.empty()) {
    file = u16le("a.txt");
    file.insert(file.end(), {0, 0});
  }
  const Bytes cell = options.attachmentCell.empty() ? u16le("a.txt") : options.attachmentCell;
  const std::uint32_t size = options.emptyAttachment ? 0 : kAttachmentSize;
  std::uint64_t data = options.emptyAttachment ? b.addEntryOnly(0, 0, false) : b.addData(attachmentBytes());
  std::uint64_t attPc = b.addData(pcHeap({{0x0E210003, le32b(0)},
                                          {0x37050003, le32b(1)},
                                          {0x0E200003, le32b(size)},
                                          {0x3707001E, file},
                                          {0x37010102, le64b(data)}}));
  std::uint64_t attTable = b.addData(tcHeap({0x0E210003, 0x3704001F, 0x0E200003, 0x37050003},
                                            {{0x05, {{0x0E210003, le32b(0)},
                                                     {0x3704001F, cell},
                                                     {0x0E200003, le32b(size)},
                                                     {0x37050003, le32b(1)}}}}));
  std::uint64_t recipients = b.addData(tcHeap(
      {0x0C150003, 0x3001001F, 0x39FE001F},
      {{0, {{0x0C150003, le32b(1)}, {0x3001001F, u16le("Bob")}, {0x39FE001F, u16le("bob@example.com")}}},
       {1, {{0x0C150003, le32b(2)}, {0x3001001F, u16le("Carol")}, {0x39FE001F, u16le("carol@example.com")}}}}));
  return b.addSubnodes({{{0x05, attPc, 0}, {0x11, attTable, 0}, {0x12, recipients, 0}}});
}

std::uint64_t tableSubnode(ImageBuilder& b, std::uint32_t subnid, const std::vector<std::uint32_t>& columns,
                           const std::vector<TableRow>& rows) {
  return b.addSubnodes({{{subnid, b.addData(tcHeap(columns, rows)), 0}}});
}

}  // namespace

Bytes rowGroupBytes(std::uint64_t key, const std::vector<TableRow>& rows) {
  Bytes out = {'L', 'T', 'P', 'C'};
  auto append = [&out](const Bytes& b) { out.insert(out.end(), b.begin(), b.end()); };
  append(le64b(key));
  append(le32b(static_cast<std::uint32_t>(rows.size())));
  for (const auto& [nid, cells] : rows) {
    append(le64b(nid));
    append(le32b(static_cast<std::uint32_t>(cells.size())));
    for (const auto& [tag, value] : cells) {
      append(le32b(tag));
      append(le32b(static_cast<std::uint32_t>(value.size())));
      append(value);
    }
  }
  return out;
}

Bytes attachmentBytes() {
  Bytes data(kAttachmentSize);
  for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<std::uint8_t>(i * 31 + 7);
  return data;
}

Sample buildSample(const SampleOptions& options) {
  ImageBuilder b;
  Sample s;
  b.addNode(0x421, b.addData(pcHeap({{kName, u16le("Personal Folders")}})), 0, 0);
  Bytes guids(kAppointmentGuid, kAppointmentGuid + 16), entries;
  for (auto e : {nameEntry(0x820D, 0), nameEntry(0x820E, 1), nameEntry(0x8208, 2)})
    entries.insert(entries.end(), e.begin(), e.end());
  if (options.busyStatus) {
    Bytes e = nameEntry(0x8205, 3);
    entries.insert(entries.end(), e.begin(), e.end());
  }
  b.addNode(0x61, b.addData(pcHeap({{0x00020102, guids}, {0x00030102, entries}})), 0, 0);

  std::vector<TableRow> children{{kCalendar, {{kName, u16le("Calendar")}}}};
  const std::pair<std::uint32_t, const char*> defaults[] = {
      {0x202, "Inbox"}, {0x242, "Outbox"}, {0x282, "Sent Items"}, {0x2C2, "Deleted Items"}, {0x302, "Drafts"}};
  for (const auto& [nid, name] : defaults) children.push_back({nid, {{kName, u16le(name)}}});
  b.addNode(kRoot, folderData(b, "Root"), tableSubnode(b, 0x0D, {kName}, children), 0x421);

  std::uint64_t inboxData = folderData(b, "Inbox");
  s.inboxDataIb = b.ibOf(inboxData);
  std::vector<TableRow> contents{{kMessage, {{kClass, u16le("IPM.Note")}}}};
  if (options.reverseContents) {
    contents.push_back({0x0C4, {{kClass, u16le("IPM.Note.Other")}}});
    std::swap(contents[0], contents[1]);
    b.addNode(0x0C4, b.addData(pcHeap({{kClass, u16le("IPM.Note.Other")}})), 0, 0x202);
  }
  b.addNode(0x202, inboxData, tableSubnode(b, 0x0E, {kClass}, contents), kRoot);
  for (std::size_t i = 1; i < 5; ++i) b.addNode(defaults[i].first, folderData(b, defaults[i].second), 0, kRoot);

  Props message = {{kClass, u16le("IPM.Note")}, {0x0037001F, u16le("Hello")}, {0x0C1A001F, u16le("Alice")}};
  if (!options.bodyHtml.empty()) message[0x10130102] = options.bodyHtml;
  b.addNode(kMessage, b.addData(pcHeap(message)), messageSubnodes(b, options), 0x202);
  // The Inbox's row group: the message's row and one of a NID no folder lists.
  const Props row = {{0x00390040, le64b(kMessageFiletime)}, {0x0C1F001F, u16le(kSenderAddress)}};
  if (options.rowGroup) b.addBlock(rowGroupBytes(0x202, {{kMessage, row}, {0x7E4, {}}}), true);
  s.strayIb = b.size();
  b.appendUnlisted(Bytes(options.strayBytes, 0));
  if (options.staleRecord) s.staleRecordIb = b.addUnlistedBlock(Bytes(64, 0));
  b.addNode(kCalendar, folderData(b, "Calendar"),
            tableSubnode(b, 0x0E, {kClass}, {{kEvent, {{kClass, u16le("IPM.Appointment")}}}}), kRoot);
  Props event = {{kClass, u16le("IPM.Appointment")},         {0x0037001F, u16le("Meeting")},
                 {0x80000040, le64b(kStartFiletime)},        {0x80010040, le64b(kEndFiletime)},
                 {0x8002001F, u16le("Room 1")}};
  if (options.busyStatus) event[0x80030003] = le32b(kBusyStatus);
  b.addNode(kEvent, b.addData(pcHeap(event)), 0, kCalendar);
  s.image = b.finish(options.recordMessages + (options.reverseContents ? 1 : 0), 1, options.stalePages);
  s.stalePageIb = b.staleIb;
  s.nbtIb = b.nbtIb;
  s.recordIb = b.recordIb;
  return s;
}

bool hasViolation(const vread::Mailbox& m, std::uint64_t offset, const std::string& fragment) {
  for (const auto& v : m.violations())
    if (v.offset == offset && v.message.find(fragment) != std::string::npos) return true;
  return false;
}

bool hasWarning(const vread::Mailbox& m, std::uint64_t offset, const std::string& fragment) {
  for (const auto& w : m.warnings())
    if (w.offset == offset && w.message.find(fragment) != std::string::npos) return true;
  return false;
}

std::string describe(const vread::Mailbox& m) {
  std::string out;
  for (const auto& v : m.violations()) out += vread::hex(v.offset) + " " + v.message + "\n";
  for (const auto& w : m.warnings()) out += "warning " + vread::hex(w.offset) + " " + w.message + "\n";
  return out;
}

}  // namespace testimg
