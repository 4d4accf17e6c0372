#include "messaging/message_serializer.h"

#include <stdexcept>
#include <utility>

#include "core/stats.h"
#include "ltp/property_context.h"
#include "ltp/node_data.h"
#include "ltp/utf8.h"
#include "messaging/property_tags.h"
#include "ndb/subnode_list.h"

namespace virel {
namespace {

constexpr uint32_t kAttachmentTableSubnode = 0x11;
constexpr uint32_t kRecipientTableSubnode = 0x12;
constexpr uint32_t kAttachmentSubnodeType = 0x05;
constexpr uint32_t kAttachMethodByValue = 1;
constexpr char kMessageClassNote[] = "IPM.Note";
// One SLBLOCK holds (8176 - 8) / 24 = 340 subnodes: two tables and the
// attachments.
constexpr size_t kMaxAttachments = 338;

// Recipient types as the recipient table stores them.
constexpr uint32_t kTableTypeTo = 1;
constexpr uint32_t kTableTypeCc = 2;
constexpr uint32_t kTableTypeBcc = 3;

uint32_t AttachmentSubnode(size_t n) {
  return static_cast<uint32_t>(n << 5) | kAttachmentSubnodeType;
}

uint32_t TableRecipientType(RecipientKind kind) {
  switch (kind) {
    case RecipientKind::kCc: return kTableTypeCc;
    case RecipientKind::kBcc: return kTableTypeBcc;
    default: return kTableTypeTo;
  }
}

ltp::PropertyBag MessageProperties(const MessageRecord& m) {
  ltp::PropertyBag bag;
  bag.SetString(tag::kMessageClass, kMessageClassNote);
  if (!m.subject.empty()) {
    bag.SetBytes(tag::kNormalizedSubject, bag.SetString(tag::kSubject, m.subject));
  }
  if (!m.body_plain.empty()) bag.SetString(tag::kBody, m.body_plain);
  if (!m.body_html().empty()) {
    bag.SetBytes(tag::kBodyHtml, Bytes(m.body_html().begin(), m.body_html().end()));
  }
  if (!m.sender_name.empty()) {
    bag.SetBytes(tag::kSentRepresentingName,
                 bag.SetString(tag::kSenderName, m.sender_name));
  }
  return bag;
}

ltp::Heap RecipientTable(const std::vector<Recipient>& recipients) {
  ltp::Heap heap;
  std::vector<ltp::TableRow> rows;
  uint32_t row_id = 0;
  for (const Recipient& r : recipients) {
    ltp::TableRow row{row_id++, {}};
    row.cells.emplace_back(tag::kRecipientType, Fixed32Bytes(TableRecipientType(r.kind)));
    if (!r.name.empty()) {
      row.cells.emplace_back(tag::kDisplayName, ltp::StringCell(&heap, r.name));
    }
    row.cells.emplace_back(tag::kSmtpAddress, ltp::StringCell(&heap, r.address));
    rows.push_back(std::move(row));
  }
  ltp::BuildTableContext(
      {tag::kRecipientType, tag::kDisplayName, tag::kSmtpAddress}, rows, &heap);
  return heap;
}

Bytes AttachmentTable(const std::vector<AttachmentResult>& attachments) {
  ltp::Heap heap;
  std::vector<ltp::TableRow> rows;
  for (size_t n = 0; n < attachments.size(); ++n) {
    const AttachmentResult& a = attachments[n];
    ltp::TableRow row{AttachmentSubnode(n), {}};
    row.cells.emplace_back(tag::kAttachNumber, Fixed32Bytes(static_cast<uint32_t>(n)));
    if (!a.file_name.empty()) {
      row.cells.emplace_back(tag::kAttachFilenameUnicode,
                             ltp::StringCell(&heap, a.file_name));
    }
    row.cells.emplace_back(tag::kAttachSize, Fixed32Bytes(static_cast<uint32_t>(a.size)));
    row.cells.emplace_back(tag::kAttachMethod, Fixed32Bytes(kAttachMethodByValue));
    rows.push_back(std::move(row));
  }
  ltp::BuildTableContext({tag::kAttachNumber, tag::kAttachFilenameUnicode,
                          tag::kAttachSize, tag::kAttachMethod},
                         rows, &heap);
  return ltp::SerializeOnePage(heap);
}

// The data BID is the only value that is not known before the data is
// written, and it does not change the object's size.
Bytes AttachmentObject(size_t n, const AttachmentResult& a) {
  ltp::PropertyBag bag;
  bag.SetInt32(tag::kAttachNumber, static_cast<uint32_t>(n));
  bag.SetInt32(tag::kAttachMethod, kAttachMethodByValue);
  bag.SetInt32(tag::kAttachSize, static_cast<uint32_t>(a.size));
  if (!a.file_name.empty()) {
    // The 8-bit tags carry the terminated UTF-16 form of the name.
    const Bytes name = ltp::Utf8ToUtf16Terminated(a.file_name);
    bag.SetBytes(tag::kAttachFilename8, name);
    bag.SetBytes(tag::kAttachLongFilename8, name);
  }
  Bytes bid;
  PutFixed64(&bid, a.bid);
  bag.SetBytes(tag::kAttachDataBinary, bid);
  ltp::Heap heap;
  ltp::BuildPropertyContext(bag, &heap);
  return ltp::SerializeOnePage(heap);
}

}  // namespace

uint64_t EnterItemNode(ndb::NodeRegistry* nodes, uint32_t folder_nid,
                       uint64_t bid_data, uint64_t bid_sub) {
  ndb::Node node = nodes->NewNode(ndb::kNidTypeNormalMessage, folder_nid);
  node.bid_data = bid_data;
  node.bid_sub = bid_sub;
  nodes->PutNode(node);
  return node.nid;
}

std::vector<AttachmentResult> serialize_attachments(
    const std::vector<Attachment>& attachments, ndb::DataWriter* writer,
    ndb::NodeRegistry* nodes) {
  ScopedTimer timer(stat::kSerializeAttachments);
  std::vector<AttachmentResult> results;
  results.reserve(attachments.size());
  uint64_t total = 0;
  for (const Attachment& a : attachments) {
    total += a.data.size();
    AttachmentResult r{a.file_name, 0, 0, a.data.size()};
    if (!a.data.empty()) {
      r.bid = writer->WriteData(a.data, false);
      const auto block = nodes->FindBlock(r.bid);
      r.block_detail = block ? block->ib : 0;
    } else {
      r.bid = nodes->NextBid(false);
      nodes->RegisterBlock(r.bid, 0, 0);
    }
    results.push_back(std::move(r));
  }
  Stats& stats = Stats::Instance();
  stats.Record(stat::kTotalAttachmentSize, static_cast<double>(total));
  if (!attachments.empty()) {
    stats.Record(stat::kAverageAttachmentSize,
                 static_cast<double>(total) / attachments.size());
  }
  return results;
}

ItemResult serialize_message(const MessageRecord& message, uint32_t folder_nid,
                             ndb::DataWriter* writer, ndb::NodeRegistry* nodes,
                             ltp::PropertyBag* bag_out) {
  ScopedTimer timer(stat::kSerializeMessage);
  // Everything that could break the layout is checked before any write.
  if (message.attachments.size() > kMaxAttachments) {
    throw std::length_error("too many attachments for one subnode list");
  }
  ltp::PropertyBag bag = MessageProperties(message);
  ltp::Heap properties;
  ltp::BuildPropertyContext(bag, &properties);
  ltp::CheckOnePage(properties);
  const ltp::Heap recipients =
      message.recipients.empty() ? ltp::Heap() : RecipientTable(message.recipients);
  ltp::CheckOnePage(recipients);
  std::vector<AttachmentResult> planned;
  for (const Attachment& a : message.attachments) {
    planned.push_back({a.file_name, 0, 0, a.data.size()});
  }
  const Bytes attachment_table = planned.empty() ? Bytes() : AttachmentTable(planned);
  for (size_t n = 0; n < planned.size(); ++n) AttachmentObject(n, planned[n]);

  const std::vector<AttachmentResult> attachments =
      serialize_attachments(message.attachments, writer, nodes);

  ndb::SubnodeListBuilder subnodes;
  if (!attachments.empty()) {
    subnodes.Add(kAttachmentTableSubnode,
                 ltp::WriteNodeData(attachment_table, writer).bid);
    for (size_t n = 0; n < attachments.size(); ++n) {
      subnodes.Add(AttachmentSubnode(n),
                   ltp::WriteNodeData(AttachmentObject(n, attachments[n]), writer).bid);
    }
  }
  if (!message.recipients.empty()) {
    subnodes.Add(kRecipientTableSubnode, ltp::WriteHeap(recipients, writer).bid);
  }
  subnodes.SortByNid();

  ItemResult result;
  result.bid_sub = subnodes.empty() ? 0 : writer->WriteData(subnodes.Finish(), true);
  const ltp::WrittenNodeData pc = ltp::WriteHeap(properties, writer);
  result.bid_data = pc.bid;
  result.serialized_size = pc.heap_size;

  result.nid = EnterItemNode(nodes, folder_nid, result.bid_data, result.bid_sub);
  Stats::Instance().Record(stat::kMessageSerializedSize,
                           static_cast<double>(result.serialized_size));
  if (bag_out != nullptr) *bag_out = std::move(bag);
  return result;
}

}  // namespace virel
