// Parts of a VEVENT the writer has no place for, besides its RRULE.
#pragma once

#include <libical/ical.h>

#include <string>
#include <vector>

namespace vimport {
namespace ical {

// Appends one label per kind found: RDATE, EXDATE, EXRULE, RECURRENCE-ID
// (the event is one changed occurrence of a series, imported on its own),
// VALARM, ATTACH, and STATUS:CANCELLED on an event that is not a meeting.
void AddDroppedParts(icalcomponent* event, bool is_meeting, std::vector<std::string>* dropped);

}  // namespace ical
}  // namespace vimport
