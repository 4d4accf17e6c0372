// Prints what the iCalendar reader makes of a file, as JSON on stdout.
// Usage: virel_ical_dump FILE.ics
#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "ical_reader.h"

namespace {

nlohmann::json AddressJson(const vimport::Address& address) {
  return {{"name", address.name}, {"address", address.address}};
}

nlohmann::json EventJson(const vimport::EventItem& event) {
  nlohmann::json attendees = nlohmann::json::array();
  for (const vimport::Attendee& attendee : event.attendees) {
    nlohmann::json entry = AddressJson(attendee.who);
    entry["type"] = attendee.type;
    attendees.push_back(entry);
  }
  return {{"summary", event.subject},
          {"location", event.location},
          {"description", event.description},
          {"start", event.start},
          {"end", event.end},
          {"all_day", event.all_day},
          {"busy_status", event.busy_status},
          {"meeting_status", event.meeting_status},
          {"organizer", AddressJson(event.organizer)},
          {"attendees", attendees},
          {"recurrence", event.recurrence},
          {"interval", event.interval},
          {"day_mask", event.day_mask},
          {"dropped", event.dropped},
          {"source", event.source}};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: virel_ical_dump FILE.ics\n";
    return 2;
  }
  std::ifstream in(argv[1], std::ios::binary);
  if (!in) {
    std::cerr << "virel_ical_dump: cannot open " << argv[1] << "\n";
    return 2;
  }
  const std::string raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  std::vector<std::string> errors;
  const std::vector<vimport::EventItem> events = vimport::ParseCalendar(raw, &errors);
  nlohmann::json out = {{"events", nlohmann::json::array()}, {"errors", errors}};
  for (const vimport::EventItem& event : events) out["events"].push_back(EventJson(event));
  // Texts come from arbitrary input: invalid UTF-8 is replaced, not fatal.
  std::cout << out.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
  return 0;
}
