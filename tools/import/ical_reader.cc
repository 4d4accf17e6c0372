#include "ical_reader.h"

#include <libical/ical.h>

#include <cstdlib>

#include "ical_dropped.h"
#include "ical_parse.h"
#include "ical_people.h"
#include "ical_props.h"
#include "ical_recurrence.h"
#include "ical_source.h"
#include "ical_status.h"
#include "ical_time.h"

namespace vimport {
namespace {

struct FoundEvent {
  icalcomponent* event;
  icalcomponent* calendar;  // the enclosing VCALENDAR, or null
};

std::string EventPrefix(size_t index) { return "event " + std::to_string(index) + ": "; }

// libical's note without the empty line text it sometimes appends.
std::string ErrorText(icalproperty* error) {
  const char* text = icalproperty_get_xlicerror(error);
  std::string result = text != nullptr ? text : "unreadable line";
  const size_t end = result.find_last_not_of(" :");
  result.erase(end == std::string::npos ? 0 : end + 1);
  return result;
}

// The X-LIC-ERROR notes libical left in `comp` itself.
void AddOwnParseErrors(icalcomponent* comp, const std::string& prefix,
                       std::vector<std::string>* errors) {
  for (icalproperty* prop = icalcomponent_get_first_property(comp, ICAL_XLICERROR_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(comp, ICAL_XLICERROR_PROPERTY)) {
    errors->push_back(prefix + ErrorText(prop));
  }
}

// The X-LIC-ERROR notes libical left in `comp` and below it.
void CollectParseErrors(icalcomponent* comp, const std::string& prefix,
                        std::vector<std::string>* errors) {
  AddOwnParseErrors(comp, prefix, errors);
  for (icalcomponent* child = icalcomponent_get_first_component(comp, ICAL_ANY_COMPONENT);
       child != nullptr; child = icalcomponent_get_next_component(comp, ICAL_ANY_COMPONENT)) {
    CollectParseErrors(child, prefix, errors);
  }
}

// Finds the VEVENTs below `comp`; other content is checked for parse
// errors, and components that are not imported are named.
void CollectEvents(icalcomponent* comp, icalcomponent* calendar, std::vector<FoundEvent>* events,
                   std::vector<std::string>* errors) {
  const icalcomponent_kind kind = icalcomponent_isa(comp);
  if (kind == ICAL_VEVENT_COMPONENT) {
    events->push_back({comp, calendar});
    return;
  }
  if (kind == ICAL_VTODO_COMPONENT || kind == ICAL_VJOURNAL_COMPONENT ||
      kind == ICAL_VFREEBUSY_COMPONENT) {
    errors->push_back(std::string("a ") + icalcomponent_kind_to_string(kind) +
                      " is not imported");
    CollectParseErrors(comp, std::string(), errors);
    return;
  }
  if (kind == ICAL_VCALENDAR_COMPONENT) calendar = comp;
  AddOwnParseErrors(comp, std::string(), errors);
  for (icalcomponent* child = icalcomponent_get_first_component(comp, ICAL_ANY_COMPONENT);
       child != nullptr; child = icalcomponent_get_next_component(comp, ICAL_ANY_COMPONENT)) {
    CollectEvents(child, calendar, events, errors);
  }
}

EventItem ReadEvent(const FoundEvent& found, const std::string& prefix,
                    std::vector<std::string>* errors) {
  icalcomponent* event = found.event;
  EventItem item;
  item.subject = ical::FirstText(event, ICAL_SUMMARY_PROPERTY);
  item.location = ical::FirstText(event, ICAL_LOCATION_PROPERTY);
  item.description = ical::FirstText(event, ICAL_DESCRIPTION_PROPERTY);

  const ical::EventTimes times = ical::ReadEventTimes(event, found.calendar);
  if (!times.has_start) errors->push_back(prefix + "no readable DTSTART");
  item.start = times.start;
  item.end = times.end;
  item.all_day = times.all_day;
  item.dropped = times.approximations;

  item.busy_status = ical::BusyStatusOf(event);
  if (icalproperty* organizer = icalcomponent_get_first_property(event, ICAL_ORGANIZER_PROPERTY)) {
    item.organizer = ical::ReadAddress(organizer);
  }
  item.attendees = ical::ReadAttendees(event);
  item.meeting_status = ical::MeetingStatusOf(event, found.calendar);

  const ical::Recurrence recurrence =
      ical::ReadRecurrence(event, times.start_local, &item.dropped);
  item.recurrence = recurrence.kind;
  item.interval = recurrence.interval;
  item.day_mask = recurrence.day_mask;
  ical::AddDroppedParts(event, item.meeting_status != ical::kNotAMeeting, &item.dropped);
  return item;
}

std::string ComponentText(icalcomponent* comp) {
  char* text = icalcomponent_as_ical_string_r(comp);
  if (text == nullptr) return std::string();
  std::string result(text);
  std::free(text);
  return result;
}

}  // namespace

std::vector<EventItem> ParseCalendar(const std::string& raw, std::vector<std::string>* errors) {
  std::vector<std::string> ignored;
  if (errors == nullptr) errors = &ignored;
  std::string text;
  ical::ComponentPtr root = ical::ParseComponents(raw, &text, errors);
  if (!root) return {};
  std::vector<FoundEvent> found;
  CollectEvents(root.get(), nullptr, &found, errors);

  // The file's own text when its blocks match what libical found.
  std::vector<std::string> sources = ical::SplitEventTexts(text);
  const bool sources_match = sources.size() == found.size();
  std::vector<EventItem> items;
  items.reserve(found.size());
  for (size_t i = 0; i < found.size(); ++i) {
    const std::string prefix = EventPrefix(i);
    CollectParseErrors(found[i].event, prefix, errors);
    items.push_back(ReadEvent(found[i], prefix, errors));
    items.back().source = sources_match ? std::move(sources[i]) : ComponentText(found[i].event);
  }
  return items;
}

}  // namespace vimport
