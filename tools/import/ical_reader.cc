#include "ical_reader.h"

#include <libical/ical.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "ical_dropped.h"
#include "ical_people.h"
#include "ical_props.h"
#include "ical_recurrence.h"
#include "ical_source.h"
#include "ical_status.h"
#include "ical_time.h"

namespace vimport {
namespace {

// Real calendars nest four levels at most (VCALENDAR, VEVENT, VALARM);
// libical frees its trees recursively, so very deep input is refused.
constexpr int kMaxNesting = 32;

struct ComponentDeleter {
  void operator()(icalcomponent* comp) const { icalcomponent_free(comp); }
};
using ComponentPtr = std::unique_ptr<icalcomponent, ComponentDeleter>;

struct FoundEvent {
  icalcomponent* event;
  icalcomponent* calendar;  // the enclosing VCALENDAR, or null
};

// libical aborts on its internal errors unless told otherwise.
void MakeLibicalErrorsNonFatal() {
  static const bool done = [] {
    icalerror_set_errors_are_fatal(0);
    return true;
  }();
  (void)done;
}

std::string EventPrefix(size_t index) { return "event " + std::to_string(index) + ": "; }

// libical's note without the empty line text it sometimes appends.
std::string ErrorText(icalproperty* error) {
  const char* text = icalproperty_get_xlicerror(error);
  std::string result = text != nullptr ? text : "unreadable line";
  const size_t end = result.find_last_not_of(" :");
  result.erase(end == std::string::npos ? 0 : end + 1);
  return result;
}

// The X-LIC-ERROR notes libical left in `comp` and below it.
void CollectParseErrors(icalcomponent* comp, const std::string& prefix,
                        std::vector<std::string>* errors) {
  for (icalproperty* prop = icalcomponent_get_first_property(comp, ICAL_XLICERROR_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(comp, ICAL_XLICERROR_PROPERTY)) {
    errors->push_back(prefix + ErrorText(prop));
  }
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
  for (icalproperty* prop = icalcomponent_get_first_property(comp, ICAL_XLICERROR_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(comp, ICAL_XLICERROR_PROPERTY)) {
    errors->push_back(ErrorText(prop));
  }
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

// Hands libical the text line by line, as icalparser_parse wants it.
struct LineSource {
  const std::string* text;
  size_t pos;
};

char* NextLine(char* out, size_t size, void* data) {
  LineSource* source = static_cast<LineSource*>(data);
  const std::string& text = *source->text;
  if (source->pos >= text.size() || size < 2) return nullptr;
  size_t end = text.find('\n', source->pos);
  end = end == std::string::npos ? text.size() : end + 1;
  const size_t length = std::min(end - source->pos, size - 1);
  text.copy(out, length, source->pos);
  out[length] = '\0';
  source->pos += length;
  return out;
}

// Every complete top-level component, and a last one cut off by the end of
// the input closed as it stands, under one root.
ComponentPtr ParseText(const std::string& text) {
  std::unique_ptr<icalparser, decltype(&icalparser_free)> parser(icalparser_new(),
                                                                  &icalparser_free);
  if (!parser) return nullptr;
  LineSource source{&text, 0};
  icalparser_set_gen_data(parser.get(), &source);
  ComponentPtr root(icalparser_parse(parser.get(), &NextLine));
  // The parser keeps ownership of what it closes here: take a copy.
  icalcomponent* unfinished = icalparser_clean(parser.get());
  if (unfinished == nullptr) return root;
  ComponentPtr rest(icalcomponent_new_clone(unfinished));
  if (!root) return rest;
  if (icalcomponent_isa(root.get()) != ICAL_XROOT_COMPONENT) {
    ComponentPtr both(icalcomponent_new(ICAL_XROOT_COMPONENT));
    icalcomponent_add_component(both.get(), root.release());
    root = std::move(both);
  }
  icalcomponent_add_component(root.get(), rest.release());
  return root;
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
  MakeLibicalErrorsNonFatal();

  // libical reads C strings: NUL bytes would end the input early.
  std::string text = raw;
  if (text.find('\0') != std::string::npos) {
    errors->push_back("NUL bytes in the input were removed");
    text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  }
  if (ical::MaxNesting(text) > kMaxNesting) {
    errors->push_back("components nested more than " + std::to_string(kMaxNesting) +
                      " levels deep; not read");
    return {};
  }
  ComponentPtr root = ParseText(text);
  if (!root) {
    errors->push_back("no iCalendar data found");
    return {};
  }
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
