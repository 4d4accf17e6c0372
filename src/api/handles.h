// How handles map to records. A message or event handle points at the
// record's shared text prefix, so one setter can serve both kinds.
#pragma once

#include "core/virel.h"
#include "messaging/records.h"
#include "virel.h"

namespace virel {
namespace api {

inline Virel* AsVirel(virel_writer* w) { return reinterpret_cast<Virel*>(w); }

inline ItemRecord* AsItem(void* handle) {
  return static_cast<ItemRecord*>(handle);
}
inline MessageRecord* AsMessage(virel_message* m) {
  return static_cast<MessageRecord*>(AsItem(m));
}
inline EventRecord* AsEvent(virel_event* e) {
  return static_cast<EventRecord*>(AsItem(e));
}
inline virel_message* ToHandle(MessageRecord* m) {
  return reinterpret_cast<virel_message*>(static_cast<ItemRecord*>(m));
}
inline virel_event* ToHandle(EventRecord* e) {
  return reinterpret_cast<virel_event*>(static_cast<ItemRecord*>(e));
}

}  // namespace api
}  // namespace virel
