// ORGANIZER and ATTENDEE properties as names, addresses and attendee types.
#pragma once

#include <libical/ical.h>

#include <vector>

#include "items.h"

namespace vimport {
namespace ical {

// CN as the name; the calendar address without its "mailto:" as the address.
Address ReadAddress(icalproperty* prop);

// CUTYPE=RESOURCE or ROOM gives a resource; otherwise ROLE decides:
// OPT-PARTICIPANT and NON-PARTICIPANT (copied for information) give
// optional, REQ-PARTICIPANT, CHAIR, an unknown role or none give required.
uint32_t AttendeeTypeOf(icalproperty* attendee);

// Every ATTENDEE of the event, in order.
std::vector<Attendee> ReadAttendees(icalcomponent* event);

}  // namespace ical
}  // namespace vimport
