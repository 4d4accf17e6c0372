#include "ical_status.h"

#include <string>

#include "ical_props.h"

namespace vimport {
namespace ical {
namespace {

constexpr const char* kBusyStatusProperties[] = {"X-MICROSOFT-CDO-BUSYSTATUS",
                                                 "X-MICROSOFT-CDO-INTENDEDSTATUS"};

struct NamedStatus {
  const char* name;
  uint32_t status;
};
constexpr NamedStatus kNamedStatuses[] = {
    {"FREE", kBusyFree}, {"TENTATIVE", kBusyTentative}, {"BUSY", kBusyBusy},
    {"OOF", kBusyOutOfOffice}};

bool StatusFromName(const std::string& name, uint32_t* status) {
  for (const NamedStatus& named : kNamedStatuses) {
    if (EqualsNoCase(name, named.name)) {
      *status = named.status;
      return true;
    }
  }
  return false;
}

icalproperty_status EventStatus(icalcomponent* event) {
  icalproperty* prop = icalcomponent_get_first_property(event, ICAL_STATUS_PROPERTY);
  return prop != nullptr ? icalproperty_get_status(prop) : ICAL_STATUS_NONE;
}

icalproperty_method CalendarMethod(icalcomponent* calendar) {
  if (calendar == nullptr) return ICAL_METHOD_NONE;
  icalproperty* prop = icalcomponent_get_first_property(calendar, ICAL_METHOD_PROPERTY);
  return prop != nullptr ? icalproperty_get_method(prop) : ICAL_METHOD_NONE;
}

}  // namespace

uint32_t BusyStatusOf(icalcomponent* event) {
  uint32_t status = kBusyBusy;
  for (const char* name : kBusyStatusProperties) {
    if (StatusFromName(FirstXValue(event, name), &status)) return status;
  }
  icalproperty* transp = icalcomponent_get_first_property(event, ICAL_TRANSP_PROPERTY);
  if (transp != nullptr) {
    const icalproperty_transp value = icalproperty_get_transp(transp);
    if (value == ICAL_TRANSP_TRANSPARENT || value == ICAL_TRANSP_TRANSPARENTNOCONFLICT) {
      return kBusyFree;
    }
  }
  if (EventStatus(event) == ICAL_STATUS_TENTATIVE) return kBusyTentative;
  return kBusyBusy;
}

uint32_t MeetingStatusOf(icalcomponent* event, icalcomponent* calendar) {
  const bool has_people =
      icalcomponent_get_first_property(event, ICAL_ORGANIZER_PROPERTY) != nullptr ||
      icalcomponent_get_first_property(event, ICAL_ATTENDEE_PROPERTY) != nullptr;
  if (!has_people) return kNotAMeeting;
  const icalproperty_method method = CalendarMethod(calendar);
  if (EventStatus(event) == ICAL_STATUS_CANCELLED || method == ICAL_METHOD_CANCEL) {
    return kMeetingCanceled;
  }
  return method == ICAL_METHOD_REQUEST ? kMeetingReceived : kMeeting;
}

}  // namespace ical
}  // namespace vimport
