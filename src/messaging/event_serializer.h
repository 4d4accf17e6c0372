// Turns a calendar event into an appointment node with named properties.
#pragma once

#include <cstdint>

#include "messaging/message_serializer.h"
#include "messaging/named_property_map.h"

namespace virel {

// The kept record of a written event; `sequence` comes from a process-wide
// counter that starts at 1.
struct EventResult {
  uint64_t sequence = 0;
  uint64_t bid_data = 0;
  uint64_t ib_data = 0;
  uint64_t serialized_size = 0;
  uint64_t bid_sub = 0;
  uint64_t reserved = 0;
  uint64_t nid = 0;
};

// Dispids of the appointment properties, as they are requested.
namespace dispid {
inline constexpr uint32_t kAppointmentStartWhole = 0x820D;
inline constexpr uint32_t kAppointmentEndWhole = 0x820E;
inline constexpr uint32_t kAppointmentDuration = 0x8213;
inline constexpr uint32_t kLocation = 0x8208;
inline constexpr uint32_t kBusyStatus = 0x8205;
inline constexpr uint32_t kAppointmentStateFlags = 0x8217;
inline constexpr uint32_t kReminderSet = 0x8503;
inline constexpr uint32_t kReminderDelta = 0x8501;
}  // namespace dispid

// The appointment's properties; asks `names` for the IDs of its named ones.
ltp::PropertyBag EventProperties(const EventRecord& event,
                                 NamedPropertyMap* names);

// Writes the event's property context and enters its node. When `bag_out`
// is given it receives the properties written, converted texts included.
EventResult serialize_event(const EventRecord& event, uint32_t folder_nid,
                            NamedPropertyMap* names, ndb::DataWriter* writer,
                            ndb::NodeRegistry* nodes,
                            ltp::PropertyBag* bag_out = nullptr);

// 1 gives 1, 3 gives 2, 5 gives 4, anything else 0.
uint32_t AppointmentStateFlags(uint32_t meeting_status);

}  // namespace virel
