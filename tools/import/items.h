// What the importer reads from its inputs, in plain form, before any of
// it reaches a writer. Texts are UTF-8; times are seconds since 1970 UTC.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vimport {

struct Address {
  std::string name;
  std::string address;
};

struct Attachment {
  std::string file_name;
  std::string data;  // decoded bytes
};

// One mail message, decoded from MIME.
struct MailItem {
  std::string subject;
  Address from;
  std::vector<Address> to;
  std::vector<Address> cc;
  std::vector<Address> bcc;
  bool has_time = false;
  int64_t time = 0;
  std::string body_plain;
  std::string body_html;
  std::vector<Attachment> attachments;  // in document order
  std::vector<std::string> problems;    // what could not be decoded as declared
};

// Attendee types as the writer takes them.
enum AttendeeType : uint32_t {
  kAttendeeRequired = 1,
  kAttendeeOptional = 2,
  kAttendeeResource = 3,
};

struct Attendee {
  Address who;
  uint32_t type = kAttendeeRequired;
};

// Recurrence kinds as the writer takes them.
enum RecurrenceKind : uint32_t {
  kRecurNone = 0,
  kRecurDaily = 1,
  kRecurWeekly = 2,
};

// One VEVENT, with times converted to UTC.
struct EventItem {
  std::string subject;
  std::string location;
  std::string description;
  int64_t start = 0;
  int64_t end = 0;
  bool all_day = false;
  uint32_t busy_status = 2;  // 0 free, 1 tentative, 2 busy, 3 out of office
  uint32_t meeting_status = 0;
  Address organizer;
  std::vector<Attendee> attendees;
  uint32_t recurrence = kRecurNone;
  uint32_t interval = 1;
  uint32_t day_mask = 0;  // bit 0 Sunday .. bit 6 Saturday
  // What the writer cannot carry (other rules, exceptions, alarms), one
  // short label each, for the report.
  std::vector<std::string> dropped;
  std::string source;  // the VEVENT's own text, for the rejected-items file
};

}  // namespace vimport
