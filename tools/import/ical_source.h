// The original text of each VEVENT block of an iCalendar file.
#pragma once

#include <string>
#include <vector>

namespace vimport {
namespace ical {

// Every block from a "BEGIN:VEVENT" line to its "END:VEVENT" line, both
// included, in file order; a block left open runs to the end of the input.
std::vector<std::string> SplitEventTexts(const std::string& raw);

// How deeply BEGIN/END components nest in `raw` (folded lines unfolded).
int MaxNesting(const std::string& raw);

}  // namespace ical
}  // namespace vimport
