// What close needs of each added item: its node's results and its
// contents-table row, whose texts are converted once when the item is
// added. Neither the record nor its attachment bytes are kept.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/coding.h"
#include "messaging/event_serializer.h"
#include "messaging/message_serializer.h"

namespace virel {

// Tag and UTF-16LE or fixed-width value of one row cell, in row order.
using ItemRowCells = std::vector<std::pair<uint32_t, Bytes>>;

struct StoredMessage {
  ItemResult result;
  ItemRowCells row;  // complete: a message's cells name no named property
};

struct StoredEvent {
  EventResult result;
  ItemRowCells row;  // its named-property tags were assigned when added
};

struct ItemRegistry {
  std::unordered_map<uint64_t, StoredMessage> messages;
  std::unordered_map<uint64_t, StoredEvent> events;
};

}  // namespace virel
