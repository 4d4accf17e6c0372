// The start and end of a VEVENT as seconds since 1970 UTC.
#pragma once

#include <libical/ical.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vimport {
namespace ical {

struct EventTimes {
  bool has_start = false;  // false: no readable DTSTART, start and end are 0
  int64_t start = 0;
  int64_t end = 0;
  bool all_day = false;  // DTSTART is a DATE: start and end fall on 00:00 UTC
  icaltimetype start_local = icaltime_null_time();  // DTSTART as written
  // Times that could not be placed exactly ("floating time taken as UTC").
  std::vector<std::string> approximations;
};

// Reads DTSTART and DTEND (or DURATION). A TZID is looked up among the
// VTIMEZONEs of `calendar` (may be null), then among libical's built-in
// zones. A missing end is the start for a date-time, start + 1 day for a date.
EventTimes ReadEventTimes(icalcomponent* event, icalcomponent* calendar);

}  // namespace ical
}  // namespace vimport
