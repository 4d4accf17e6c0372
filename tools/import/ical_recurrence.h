// The event's RRULE as the writer's daily or weekly recurrence.
#pragma once

#include <libical/ical.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vimport {
namespace ical {

struct Recurrence {
  uint32_t kind = 0;  // RecurrenceKind
  uint32_t interval = 1;
  uint32_t day_mask = 0;  // bit 0 Sunday .. bit 6 Saturday
};

// FREQ=DAILY and FREQ=WEEKLY with INTERVAL and BYDAY are kept (a weekly
// rule without BYDAY repeats on the weekday of `start`; a daily rule with
// plain BYDAY and interval 1 becomes the weekly rule it is). The writer
// has no end and no other rule: every other FREQ, COUNT, UNTIL, the other
// BY parts and any further RRULE are named in `dropped`.
Recurrence ReadRecurrence(icalcomponent* event, icaltimetype start,
                          std::vector<std::string>* dropped);

}  // namespace ical
}  // namespace vimport
