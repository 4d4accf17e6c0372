// Brings iCalendar input to UTF-8, the only encoding the format allows.
#pragma once

#include <string>
#include <vector>

namespace vimport {
namespace ical {

// UTF-8 input loses its byte order mark; UTF-16 with a byte order mark is
// converted. Input that is not valid UTF-8 is read as Windows-1252 (or,
// where that has no character, ISO-8859-1) so that no text is lost; the
// conversion is noted in `errors`.
std::string ToUtf8(const std::string& raw, std::vector<std::string>* errors);

}  // namespace ical
}  // namespace vimport
