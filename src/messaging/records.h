// The caller-built message and event records. Both begin with the same
// three texts, so one setter serves each pair of fields.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "core/coding.h"

namespace virel {

inline constexpr int64_t kTicksPerSecond = 10000000;

// The shared prefix: subject, plain body, and a third text that is the
// message's HTML body and the event's location.
struct ItemRecord {
  std::string subject;
  std::string body_plain;
  std::string third_text;
};

enum class RecipientKind : uint32_t { kTo = 0, kCc = 1, kBcc = 2 };

struct Recipient {
  std::string name;
  std::string address;
  RecipientKind kind = RecipientKind::kTo;
};

struct Attachment {
  std::string file_name;
  Bytes data;
};

struct MessageRecord : ItemRecord {
  const std::string& body_html() const { return third_text; }
  std::string sender_name;
  std::string sender_address;
  std::vector<Recipient> recipients;
  std::vector<Attachment> attachments;
  int64_t time = 0;  // 100-ns ticks since 1970
  std::vector<std::string> further;
};

struct Attendee {
  std::string name;
  std::string address;
  uint32_t type = 1;
};

enum RecurrenceKind : uint32_t {
  kRecurrenceNone = 0,
  kRecurrenceDaily = 1,
  kRecurrenceWeekly = 2,
};

struct EventRecord : ItemRecord {
  const std::string& location() const { return third_text; }
  int64_t start = 0;  // 100-ns ticks since 1970
  int64_t end = 0;
  bool all_day = false;
  uint32_t busy_status = 2;
  uint32_t meeting_status = 0;
  uint32_t reminder_delta = 15;
  bool reminder_set = true;
  std::vector<std::string> further;
  std::string organizer_name;
  std::string organizer_address;
  std::vector<Attendee> attendees;
  uint32_t recurrence_kind = kRecurrenceNone;
  uint32_t recurrence_interval = 1;
  uint32_t recurrence_day_mask = 0;
  uint32_t recurrence_extra32 = 0;
  uint64_t recurrence_extra64 = 0;
};

// Item kinds in a folder's contents.
enum ContentKind : uint32_t {
  kContentMessage = 1,
  kContentEvent = 2,
  kContentTask = 3,
  kContentActivity = 4,
};

struct ContentRecord {
  uint64_t nid;
  uint32_t kind;
};

// Seconds as 100-ns ticks. Out-of-range values wrap instead of
// overflowing: times are kept without range checks.
inline int64_t SecondsToTicks(int64_t seconds) {
  return static_cast<int64_t>(static_cast<uint64_t>(seconds) *
                              static_cast<uint64_t>(kTicksPerSecond));
}

// FILETIME of a tick count: whole seconds (toward zero) since 1601.
inline constexpr int64_t kEpochDifferenceSeconds = 11644473600LL;
inline uint64_t TicksToFiletime(int64_t ticks) {
  const uint64_t seconds = static_cast<uint64_t>(ticks / kTicksPerSecond) +
                           static_cast<uint64_t>(kEpochDifferenceSeconds);
  return seconds * static_cast<uint64_t>(kTicksPerSecond);
}

// end - start in whole minutes, toward zero; wraps rather than overflows.
inline int64_t DurationMinutes(int64_t start, int64_t end) {
  constexpr int64_t kTicksPerMinute = 60 * kTicksPerSecond;
  const int64_t span = static_cast<int64_t>(static_cast<uint64_t>(end) -
                                            static_cast<uint64_t>(start));
  return span / kTicksPerMinute;
}

}  // namespace virel

namespace virel {

// ContentRecords of every folder that has received an item, by folder ID.
using ContentsRegistry = std::map<uint64_t, std::vector<ContentRecord>>;

}  // namespace virel
