#include "messaging/event_serializer.h"

#include <atomic>
#include <utility>

#include "core/stats.h"
#include "ltp/node_data.h"
#include "messaging/property_tags.h"

namespace virel {
namespace {

constexpr char kMessageClassAppointment[] = "IPM.Appointment";

std::atomic<uint64_t> g_event_sequence{0};

void SetIfPresent(ltp::PropertyBag* bag, uint32_t t, const std::string& s) {
  if (!s.empty()) bag->SetString(t, s);
}

// One text under two tags, converted once.
void SetTwiceIfPresent(ltp::PropertyBag* bag, uint32_t first, uint32_t second,
                       const std::string& s) {
  if (s.empty()) return;
  bag->SetBytes(second, bag->SetString(first, s));
}

void SetPlainProperties(const EventRecord& e, ltp::PropertyBag* bag) {
  bag->SetString(tag::kMessageClass, kMessageClassAppointment);
  SetTwiceIfPresent(bag, tag::kSubject, tag::kNormalizedSubject, e.subject);
  SetIfPresent(bag, tag::kBody, e.body_plain);
  SetTwiceIfPresent(bag, tag::kSenderName, tag::kSentRepresentingName,
                    e.organizer_name);
  SetTwiceIfPresent(bag, tag::kSenderEmail, tag::kSentRepresentingEmail,
                    e.organizer_address);
}

void SetNamedProperties(const EventRecord& e, NamedPropertyMap* names,
                        ltp::PropertyBag* bag) {
  // Requested in this order so a new file numbers them 0x8000 to 0x8007.
  const uint16_t start = names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentStartWhole);
  const uint16_t end = names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentEndWhole);
  const uint16_t duration = names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentDuration);
  const uint16_t location = names->GetOrAssign(kPsetidAppointment, dispid::kLocation);
  const uint16_t busy = names->GetOrAssign(kPsetidAppointment, dispid::kBusyStatus);
  const uint16_t state = names->GetOrAssign(kPsetidAppointment, dispid::kAppointmentStateFlags);
  const uint16_t reminder_set = names->GetOrAssign(kPsetidCommon, dispid::kReminderSet);
  const uint16_t reminder_delta = names->GetOrAssign(kPsetidCommon, dispid::kReminderDelta);

  bag->SetInt64(tag::Named(start, tag::kTypeSysTime), TicksToFiletime(e.start));
  bag->SetInt64(tag::Named(end, tag::kTypeSysTime), TicksToFiletime(e.end));
  bag->SetInt32(tag::Named(duration, tag::kTypeLong),
                static_cast<uint32_t>(DurationMinutes(e.start, e.end)));
  SetIfPresent(bag, tag::Named(location, tag::kTypeUnicode), e.location());
  bag->SetInt32(tag::Named(busy, tag::kTypeLong), e.busy_status);
  bag->SetInt32(tag::Named(state, tag::kTypeLong),
                AppointmentStateFlags(e.meeting_status));
  bag->SetBytes(tag::Named(reminder_set, tag::kTypeBoolean),
                Bytes{static_cast<uint8_t>(e.reminder_set ? 1 : 0), 0});
  bag->SetInt32(tag::Named(reminder_delta, tag::kTypeLong), e.reminder_delta);
}

}  // namespace

ltp::PropertyBag EventProperties(const EventRecord& event,
                                 NamedPropertyMap* names) {
  ltp::PropertyBag bag;
  SetPlainProperties(event, &bag);
  SetNamedProperties(event, names, &bag);
  return bag;
}

uint32_t AppointmentStateFlags(uint32_t meeting_status) {
  switch (meeting_status) {
    case 1: return 1;
    case 3: return 2;
    case 5: return 4;
    default: return 0;
  }
}

EventResult serialize_event(const EventRecord& event, uint32_t folder_nid,
                            NamedPropertyMap* names, ndb::DataWriter* writer,
                            ndb::NodeRegistry* nodes,
                            ltp::PropertyBag* bag_out) {
  ScopedTimer timer(stat::kSerializeEvent);
  ltp::PropertyBag bag = EventProperties(event, names);
  const ltp::WrittenNodeData pc = ltp::WritePropertyContext(bag, writer);

  EventResult result;
  result.sequence = ++g_event_sequence;
  result.bid_data = pc.bid;
  const auto block = nodes->FindBlock(pc.bid);
  result.ib_data = block ? block->ib : 0;
  result.serialized_size = pc.heap_size;

  result.nid = EnterItemNode(nodes, folder_nid, pc.bid, 0);
  Stats::Instance().Record(stat::kEventSerializedSize,
                           static_cast<double>(result.serialized_size));
  if (bag_out != nullptr) *bag_out = std::move(bag);
  return result;
}

}  // namespace virel
