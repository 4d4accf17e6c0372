#include "ical_dropped.h"

namespace vimport {
namespace ical {
namespace {

struct DroppedProperty {
  icalproperty_kind kind;
  const char* label;
};
constexpr DroppedProperty kDroppedProperties[] = {
    {ICAL_RDATE_PROPERTY, "RDATE"},
    {ICAL_EXDATE_PROPERTY, "EXDATE"},
    {ICAL_EXRULE_PROPERTY, "EXRULE"},
    {ICAL_RECURRENCEID_PROPERTY, "RECURRENCE-ID"},
    {ICAL_ATTACH_PROPERTY, "ATTACH"},
};

}  // namespace

void AddDroppedParts(icalcomponent* event, bool is_meeting, std::vector<std::string>* dropped) {
  for (const DroppedProperty& property : kDroppedProperties) {
    if (icalcomponent_get_first_property(event, property.kind) != nullptr) {
      dropped->push_back(property.label);
    }
  }
  if (icalcomponent_get_first_component(event, ICAL_VALARM_COMPONENT) != nullptr) {
    dropped->push_back("VALARM");
  }
  if (!is_meeting) {
    icalproperty* status = icalcomponent_get_first_property(event, ICAL_STATUS_PROPERTY);
    if (status != nullptr && icalproperty_get_status(status) == ICAL_STATUS_CANCELLED) {
      dropped->push_back("STATUS:CANCELLED");
    }
  }
}

}  // namespace ical
}  // namespace vimport
