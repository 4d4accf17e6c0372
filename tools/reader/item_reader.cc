#include "item_reader.h"

#include <algorithm>

#include "layout.h"
#include "tags.h"
#include "text.h"

namespace vread {

using namespace layout;

namespace {

const char* const kAppointmentClass = "IPM.Appointment";
constexpr std::uint32_t kAttachmentShift = 5;
constexpr std::uint16_t kReplacementChar = 0xFFFD;
constexpr std::size_t kTerminatorSize = 2;

std::uint32_t attachmentNid(std::uint32_t number) { return (number << kAttachmentShift) | kNidTypeAttachment; }

std::uint32_t namedTag(std::uint16_t id, std::uint16_t type) { return (static_cast<std::uint32_t>(id) << 16) | type; }

}  // namespace

std::optional<Item> ItemReader::read(std::uint32_t nid, std::uint32_t folder) {
  auto pc = NodeAccess::pc(access_.data(nid, quiet_), quiet_);
  if (!pc) return std::nullopt;
  Item item;
  item.nid = nid;
  item.folder = folder;
  item.messageClass = pc->text(tag::kMessageClass).value_or("");
  item.subject = pc->text(tag::kSubject).value_or("");
  item.senderName = pc->text(tag::kSenderName).value_or("");
  item.senderAddress = pc->text(tag::kSenderAddress).value_or("");
  item.body = pc->text(tag::kBody).value_or("");
  if (const PropValue* html = pc->find(tag::kBodyHtml)) item.bodyHtml = html->bytes;
  item.isEvent = item.messageClass == kAppointmentClass;
  if (item.isEvent) readEventTimes(item, *pc);
  ViolationLog::Scope scope(log_, "item " + hex(nid));
  readRecipients(item);
  readAttachments(item);
  return item;
}

void ItemReader::readEventTimes(Item& item, const PropertyContext& pc) {
  auto start = names_.propertyId(kPsetidAppointment, kDispidStart);
  auto end = names_.propertyId(kPsetidAppointment, kDispidEnd);
  auto location = names_.propertyId(kPsetidAppointment, kDispidLocation);
  auto busy = names_.propertyId(kPsetidAppointment, kDispidBusyStatus);
  if (!start || !end) {
    log_.add(db_.node(item.nid)->entryOffset, "appointment times are not in the name-to-ID map");
    return;
  }
  item.start = pc.u64(namedTag(*start, tag::kTypeSysTime));
  item.end = pc.u64(namedTag(*end, tag::kTypeSysTime));
  if (location) item.location = pc.text(namedTag(*location, tag::kTypeUnicode));
  if (busy) item.busyStatus = pc.u32(namedTag(*busy, tag::kTypeLong));
  if (!item.start || !item.end) log_.add(db_.node(item.nid)->entryOffset, "appointment lacks its start or end time");
}

void ItemReader::readRecipients(Item& item) {
  auto table = NodeAccess::tc(access_.subnodeData(item.nid, kSubRecipients, quiet_), quiet_);
  if (!table) return;
  for (const Row& row : table->rows()) {
    if (row.rowId != row.index)
      log_.add(row.offset, "recipient row " + std::to_string(row.index) + " has row ID " + hex(row.rowId));
    item.recipients.push_back({row.rowId, table->u32(row, tag::kRecipientType).value_or(0),
                               table->text(row, tag::kDisplayName).value_or(""),
                               table->text(row, tag::kSmtpAddress).value_or("")});
  }
}

void ItemReader::readAttachments(Item& item) {
  auto subs = access_.subnodes(item.nid, quiet_);
  auto table = NodeAccess::tc(access_.subnodeData(item.nid, kSubAttachments, quiet_), quiet_);
  std::size_t attachmentSubnodes = 0;
  if (subs)
    for (const auto& s : *subs) attachmentSubnodes += (s.nid & kNidTypeMask) == kNidTypeAttachment;
  std::size_t rows = table ? table->rows().size() : 0;
  if (attachmentSubnodes != rows)
    log_.add(db_.node(item.nid)->entryOffset, std::to_string(attachmentSubnodes) + " attachment subnodes but " +
                                                  std::to_string(rows) + " attachment-table rows");
  if (!table) return;
  for (const Row& row : table->rows())
    if (auto att = readAttachment(item, *table, row)) item.attachments.push_back(*att);
}

std::optional<Attachment> ItemReader::readAttachment(const Item& item, const TableContext& table, const Row& row) {
  Attachment att;
  att.subnodeNid = row.rowId;
  att.number = table.u32(row, tag::kAttachNumber).value_or(0);
  att.name = table.text(row, tag::kAttachFilename).value_or("");
  att.size = table.u32(row, tag::kAttachSize).value_or(0);
  att.method = table.u32(row, tag::kAttachMethod).value_or(0);
  if (att.subnodeNid != attachmentNid(att.number))
    log_.add(row.offset, "attachment row with number " + std::to_string(att.number) + " has row ID " +
                             hex(att.subnodeNid));
  auto pc = NodeAccess::pc(access_.subnodeData(item.nid, att.subnodeNid, quiet_), quiet_);
  if (!pc) {
    log_.add(row.offset, "attachment " + hex(att.subnodeNid) + " has no readable property context");
    return att;
  }
  if (pc->u32(tag::kAttachNumber) != att.number)
    log_.add(row.offset, "attachment " + hex(att.subnodeNid) + ": number in its PC differs from the table");
  if (pc->u32(tag::kAttachSize) != att.size)
    log_.add(row.offset, "attachment " + hex(att.subnodeNid) + ": size in its PC differs from the table");
  const Cell* cell = table.cell(row, tag::kAttachFilename);
  checkAttachmentName(att, cell ? cell->value : Bytes{}, *pc);
  auto bid = pc->u64(tag::kAttachDataBinary);
  if (!bid) {
    log_.add(row.offset, "attachment " + hex(att.subnodeNid) + " has no 8-byte data reference");
    return att;
  }
  att.dataBid = *bid;
  checkAttachmentData(att, pc->find(tag::kAttachDataBinary)->offset);
  return att;
}

// The table cell holds the platform conversion of the caller's name (bad
// UTF-8 becomes U+FFFD); the PC's 8-bit names hold the terminated encoding
// of the same text (bad bytes skipped, continuation bits taken as they
// stand). The two agree, but for the terminator, only when the conversion
// replaced nothing, so only then are they compared.
void ItemReader::checkAttachmentName(const Attachment& att, const Bytes& cell, const PropertyContext& pc) {
  const std::string name = "attachment " + hex(att.subnodeNid) + ": ";
  const PropValue* longName = pc.find(tag::kAttachLongFilename8);
  const PropValue* shortName = pc.find(tag::kAttachFilename8);
  if (longName && shortName && longName->bytes != shortName->bytes)
    log_.add(shortName->offset, name + "its two file names in the PC differ");
  bool replaced = false;
  for (std::size_t i = 0; i + 1 < cell.size(); i += 2) replaced = replaced || le16(cell.data() + i) == kReplacementChar;
  for (const PropValue* value : {longName, shortName}) {
    if (value == nullptr) continue;
    // Up to four zero bytes (the bare terminator, say) are kept in the record
    // as dwValueHnid 0, which reads as no bytes.
    const Bytes b = value->bytes.empty() ? Bytes(kTerminatorSize, 0) : value->bytes;
    if (b.size() < kTerminatorSize || b.size() % 2 != 0 || b[b.size() - 1] != 0 || b[b.size() - 2] != 0) {
      log_.add(value->offset, name + "file name in its PC is not terminated UTF-16");
      continue;
    }
    if (!replaced && !std::equal(cell.begin(), cell.end(), b.begin(), b.end() - kTerminatorSize))
      log_.add(value->offset, name + "file name in its PC differs from the table");
  }
}

void ItemReader::checkAttachmentData(const Attachment& att, std::uint64_t at) {
  ViolationLog::Scope scope(log_, "attachment " + hex(att.subnodeNid));
  auto data = access_.tree(att.dataBid, at, log_);
  if (data && data->bytes.size() != att.size)
    log_.add(at, "data holds " + std::to_string(data->bytes.size()) + " bytes, the attachment records " +
                     std::to_string(att.size));
}

}  // namespace vread
