#include "ical_time.h"

#include <algorithm>
#include <cctype>

namespace vimport {
namespace ical {
namespace {

constexpr int64_t kSecondsPerDay = 24 * 60 * 60;
constexpr int kDaysPerWeek = 7;

// Built-in zones are files under the zone directory: only names made of
// zone-name characters, never climbing out of it, are looked up there.
bool LooksLikeZoneName(const std::string& tzid) {
  if (tzid.find("..") != std::string::npos) return false;
  return std::all_of(tzid.begin(), tzid.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '/' || c == '_' || c == '-' ||
           c == '+' || c == '.';
  });
}

// One time property with the zone its local value is read in.
struct ZonedTime {
  icaltimetype local = icaltime_null_time();
  icaltimezone* zone = nullptr;  // null: the value is a date or floating
};

class ZoneLookup {
 public:
  ZoneLookup(icalcomponent* calendar, std::vector<std::string>* approximations)
      : calendar_(calendar), approximations_(approximations) {}

  // The property's value and zone; `local` is the null time when unreadable.
  ZonedTime Read(icalproperty* prop) {
    ZonedTime result;
    if (prop == nullptr) return result;
    icalvalue* value = icalproperty_get_value(prop);
    if (value == nullptr) return result;
    const icalvalue_kind kind = icalvalue_isa(value);
    if (kind != ICAL_DATETIME_VALUE && kind != ICAL_DATE_VALUE) return result;
    result.local = icalvalue_get_datetime(value);
    if (icaltime_is_null_time(result.local) || !icaltime_is_valid_time(result.local)) {
      result.local = icaltime_null_time();
      return result;
    }
    if (result.local.is_date) return result;
    if (icaltime_is_utc(result.local)) {
      result.zone = icaltimezone_get_utc_timezone();
      return result;
    }
    icalparameter* tzid_param = icalproperty_get_first_parameter(prop, ICAL_TZID_PARAMETER);
    const char* tzid = tzid_param != nullptr ? icalparameter_get_tzid(tzid_param) : nullptr;
    if (tzid == nullptr || *tzid == '\0') {
      Note("floating time taken as UTC");
      return result;
    }
    result.zone = Find(tzid);
    if (result.zone == nullptr) Note("unknown TZID " + std::string(tzid) + " taken as UTC");
    return result;
  }

 private:
  icaltimezone* Find(const char* tzid) {
    if (calendar_ != nullptr) {
      if (icaltimezone* zone = icalcomponent_get_timezone(calendar_, tzid)) return zone;
    }
    if (!LooksLikeZoneName(tzid)) return nullptr;
    if (icaltimezone* zone = icaltimezone_get_builtin_timezone(tzid)) return zone;
    return icaltimezone_get_builtin_timezone_from_tzid(tzid);
  }

  void Note(const std::string& text) {
    if (std::find(approximations_->begin(), approximations_->end(), text) ==
        approximations_->end()) {
      approximations_->push_back(text);
    }
  }

  icalcomponent* calendar_;
  std::vector<std::string>* approximations_;
};

// Dates and floating times count as UTC.
int64_t ToUtcSeconds(const ZonedTime& t) {
  icaltimezone* zone = t.zone != nullptr ? t.zone : icaltimezone_get_utc_timezone();
  return static_cast<int64_t>(icaltime_as_timet_with_zone(t.local, zone));
}

// Days and weeks of a duration are nominal (calendar days in the start's
// zone, so a day across a DST change is 23 or 25 hours); hours, minutes
// and seconds are exact.
int64_t EndAfter(const ZonedTime& start, const icaldurationtype& duration) {
  icaldurationtype nominal = icaldurationtype_null_duration();
  nominal.is_neg = duration.is_neg;
  nominal.days = duration.days + duration.weeks * kDaysPerWeek;
  ZonedTime end = start;
  end.local = icaltime_add(start.local, nominal);
  const int64_t exact = static_cast<int64_t>(duration.hours) * 3600 +
                        static_cast<int64_t>(duration.minutes) * 60 + duration.seconds;
  return ToUtcSeconds(end) + (duration.is_neg ? -exact : exact);
}

}  // namespace

EventTimes ReadEventTimes(icalcomponent* event, icalcomponent* calendar) {
  EventTimes times;
  ZoneLookup zones(calendar, &times.approximations);
  const ZonedTime start =
      zones.Read(icalcomponent_get_first_property(event, ICAL_DTSTART_PROPERTY));
  if (icaltime_is_null_time(start.local)) return times;
  times.has_start = true;
  times.all_day = start.local.is_date != 0;
  times.start_local = start.local;
  times.start = ToUtcSeconds(start);

  const ZonedTime end = zones.Read(icalcomponent_get_first_property(event, ICAL_DTEND_PROPERTY));
  icalproperty* duration = icalcomponent_get_first_property(event, ICAL_DURATION_PROPERTY);
  if (!icaltime_is_null_time(end.local)) {
    times.end = ToUtcSeconds(end);
  } else if (duration != nullptr) {
    times.end = EndAfter(start, icalproperty_get_duration(duration));
  } else {
    times.end = times.all_day ? times.start + kSecondsPerDay : times.start;
  }
  return times;
}

}  // namespace ical
}  // namespace vimport
