// Items added to a writer: the serialisation result and a copy of the
// record, kept by NID until close.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "messaging/event_serializer.h"
#include "messaging/message_serializer.h"
#include "messaging/records.h"

namespace virel {

struct StoredMessage {
  ItemResult result;
  MessageRecord record;
};

struct StoredEvent {
  EventResult result;
  EventRecord record;
};

struct ItemRegistry {
  std::unordered_map<uint64_t, StoredMessage> messages;
  std::unordered_map<uint64_t, StoredEvent> events;
};

}  // namespace virel
