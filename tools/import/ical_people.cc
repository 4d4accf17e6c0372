#include "ical_people.h"

#include <cctype>
#include <string>

namespace vimport {
namespace ical {
namespace {

constexpr char kMailtoScheme[] = "mailto:";
constexpr size_t kMailtoLength = sizeof(kMailtoScheme) - 1;

bool HasMailtoScheme(const std::string& value) {
  if (value.size() < kMailtoLength) return false;
  for (size_t i = 0; i < kMailtoLength; ++i) {
    if (std::tolower(static_cast<unsigned char>(value[i])) != kMailtoScheme[i]) return false;
  }
  return true;
}

}  // namespace

Address ReadAddress(icalproperty* prop) {
  Address result;
  if (icalparameter* cn = icalproperty_get_first_parameter(prop, ICAL_CN_PARAMETER)) {
    if (const char* name = icalparameter_get_cn(cn)) result.name = name;
  }
  if (const char* value = icalproperty_get_value_as_string(prop)) {
    result.address = value;
    if (HasMailtoScheme(result.address)) result.address.erase(0, kMailtoLength);
  }
  return result;
}

uint32_t AttendeeTypeOf(icalproperty* attendee) {
  if (icalparameter* cutype = icalproperty_get_first_parameter(attendee, ICAL_CUTYPE_PARAMETER)) {
    const icalparameter_cutype value = icalparameter_get_cutype(cutype);
    if (value == ICAL_CUTYPE_RESOURCE || value == ICAL_CUTYPE_ROOM) return kAttendeeResource;
  }
  if (icalparameter* role = icalproperty_get_first_parameter(attendee, ICAL_ROLE_PARAMETER)) {
    const icalparameter_role value = icalparameter_get_role(role);
    if (value == ICAL_ROLE_OPTPARTICIPANT || value == ICAL_ROLE_NONPARTICIPANT) {
      return kAttendeeOptional;
    }
  }
  return kAttendeeRequired;
}

std::vector<Attendee> ReadAttendees(icalcomponent* event) {
  std::vector<Attendee> attendees;
  for (icalproperty* prop = icalcomponent_get_first_property(event, ICAL_ATTENDEE_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(event, ICAL_ATTENDEE_PROPERTY)) {
    Attendee attendee;
    attendee.who = ReadAddress(prop);
    attendee.type = AttendeeTypeOf(prop);
    attendees.push_back(attendee);
  }
  return attendees;
}

}  // namespace ical
}  // namespace vimport
