// Reads one message or appointment node with its recipients and attachments.
#pragma once

#include "mailbox_model.h"
#include "name_map.h"
#include "node_access.h"

namespace vread {

class ItemReader {
 public:
  ItemReader(const Database& db, const NodeAccess& access, const NameMap& names, ViolationLog& log)
      : db_(db), access_(access), names_(names), log_(log) {}

  // Nothing when the node's property context cannot be read.
  std::optional<Item> read(std::uint32_t nid, std::uint32_t folder);

 private:
  void readRecipients(Item& item);
  void readAttachments(Item& item);
  std::optional<Attachment> readAttachment(const Item& item, const TableContext& table, const Row& row);
  void checkAttachmentName(const Attachment& att, const Bytes& cell, const PropertyContext& pc);
  void checkAttachmentData(const Attachment& att, std::uint64_t at);
  void readEventTimes(Item& item, const PropertyContext& pc);

  const Database& db_;
  const NodeAccess& access_;
  const NameMap& names_;
  ViolationLog& log_;
  ViolationLog quiet_;  // structural problems were reported by the node sweep
};

}  // namespace vread
