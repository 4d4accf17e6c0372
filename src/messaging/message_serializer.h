// Turns a message, event or attachment list into nodes and blocks.
#pragma once

#include <cstdint>
#include <vector>

#include "ltp/property_bag.h"
#include "messaging/named_property_map.h"
#include "messaging/records.h"
#include "ndb/data_writer.h"
#include "ndb/node_registry.h"

namespace virel {

// What a written item leaves for its folder and the writer's registry.
struct ItemResult {
  uint64_t nid = 0;
  uint64_t bid_data = 0;
  uint64_t bid_sub = 0;
  uint64_t serialized_size = 0;  // bytes of the item's property heap
};

struct AttachmentResult {
  std::string file_name;
  uint64_t bid = 0;
  uint64_t block_detail = 0;  // the block's offset, 0 when not registered
  uint64_t size = 0;
};

// Enters a written item as a node of type "normal message" under its
// folder; returns the new NID.
uint64_t EnterItemNode(ndb::NodeRegistry* nodes, uint32_t folder_nid,
                       uint64_t bid_data, uint64_t bid_sub);

// Writes each attachment's data as a data tree, in list order.
std::vector<AttachmentResult> serialize_attachments(
    const std::vector<Attachment>& attachments, ndb::DataWriter* writer,
    ndb::NodeRegistry* nodes);

// Writes the message node (property context and subnodes) under a new NID
// whose parent is `folder_nid`. `bag_out`, when given, receives the
// message's property bag, its texts already converted.
ItemResult serialize_message(const MessageRecord& message, uint32_t folder_nid,
                             ndb::DataWriter* writer, ndb::NodeRegistry* nodes,
                             ltp::PropertyBag* bag_out = nullptr);

}  // namespace virel
