// Busy status and meeting status of an event, as the writer takes them.
#pragma once

#include <libical/ical.h>

#include <cstdint>

namespace vimport {
namespace ical {

enum BusyStatus : uint32_t {
  kBusyFree = 0,
  kBusyTentative = 1,
  kBusyBusy = 2,
  kBusyOutOfOffice = 3,
};

enum MeetingStatus : uint32_t {
  kNotAMeeting = 0,
  kMeeting = 1,           // organised from this calendar
  kMeetingReceived = 3,   // an invitation received
  kMeetingCanceled = 5,
};

// X-MICROSOFT-CDO-BUSYSTATUS (FREE, TENTATIVE, BUSY, OOF), else
// X-MICROSOFT-CDO-INTENDEDSTATUS, when it holds one of those values;
// otherwise TRANSP:TRANSPARENT gives free, STATUS:TENTATIVE tentative,
// anything else busy.
uint32_t BusyStatusOf(icalcomponent* event);

// An event with an ORGANIZER or an ATTENDEE is a meeting: canceled when its
// STATUS is CANCELLED or the calendar's METHOD is CANCEL, received when the
// METHOD is REQUEST (an invitation), otherwise organised here. An event
// with neither is not a meeting. `calendar` may be null.
uint32_t MeetingStatusOf(icalcomponent* event, icalcomponent* calendar);

}  // namespace ical
}  // namespace vimport
