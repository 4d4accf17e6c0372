#include "ical_props.h"

#include <cctype>

namespace vimport {
namespace ical {

bool EqualsNoCase(const std::string& a, const std::string& b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(a[i])) !=
        std::tolower(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

std::string FirstText(icalcomponent* comp, icalproperty_kind kind) {
  icalproperty* prop = icalcomponent_get_first_property(comp, kind);
  if (prop == nullptr) return std::string();
  icalvalue* value = icalproperty_get_value(prop);
  if (value == nullptr) return std::string();
  // TEXT values come back unescaped; anything else in its written form.
  const char* text = icalvalue_isa(value) == ICAL_TEXT_VALUE
                         ? icalvalue_get_text(value)
                         : icalvalue_as_ical_string(value);
  return text != nullptr ? std::string(text) : std::string();
}

std::string FirstXValue(icalcomponent* comp, const char* name) {
  for (icalproperty* prop = icalcomponent_get_first_property(comp, ICAL_X_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(comp, ICAL_X_PROPERTY)) {
    const char* x_name = icalproperty_get_x_name(prop);
    if (x_name == nullptr || !EqualsNoCase(x_name, name)) continue;
    const char* value = icalproperty_get_value_as_string(prop);
    return value != nullptr ? std::string(value) : std::string();
  }
  return std::string();
}

}  // namespace ical
}  // namespace vimport
