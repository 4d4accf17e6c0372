// Small read helpers over libical properties, shared by the iCalendar reader.
#pragma once

#include <libical/ical.h>

#include <string>

namespace vimport {
namespace ical {

// Case-insensitive ASCII comparison, as iCalendar names and enumerated values are.
bool EqualsNoCase(const std::string& a, const std::string& b);

// The unescaped value of the first property of this kind; empty when absent.
std::string FirstText(icalcomponent* comp, icalproperty_kind kind);

// The value of the first X- property named `name`; empty when absent.
std::string FirstXValue(icalcomponent* comp, const char* name);

}  // namespace ical
}  // namespace vimport
