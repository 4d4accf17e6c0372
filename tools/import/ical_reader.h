// Reads the events of an iCalendar file with libical.
#pragma once

#include <string>
#include <vector>

#include "items.h"

namespace vimport {

// Every VEVENT of `raw` (one VCALENDAR or several), in file order, with
// times in UTC. Never fails on bad input: what libical cannot read is
// described in `errors` (may be null), one line each, starting with
// "event N: " when it concerns the N-th returned event (from 0); the
// events read so far are still returned. What an event holds that the
// writer cannot carry is named in its `dropped`.
std::vector<EventItem> ParseCalendar(const std::string& raw, std::vector<std::string>* errors);

}  // namespace vimport
