#include "ical_recurrence.h"

#include "items.h"

namespace vimport {
namespace ical {
namespace {

bool HasValues(const short* list) { return list[0] != ICAL_RECURRENCE_ARRAY_MAX; }

// The BY parts the writer cannot express, with their names.
struct ByPart {
  const char* label;
  const short* (*values)(const icalrecurrencetype&);
};
constexpr ByPart kUnsupportedParts[] = {
    {"RRULE BYSECOND", [](const icalrecurrencetype& r) -> const short* { return r.by_second; }},
    {"RRULE BYMINUTE", [](const icalrecurrencetype& r) -> const short* { return r.by_minute; }},
    {"RRULE BYHOUR", [](const icalrecurrencetype& r) -> const short* { return r.by_hour; }},
    {"RRULE BYMONTHDAY",
     [](const icalrecurrencetype& r) -> const short* { return r.by_month_day; }},
    {"RRULE BYYEARDAY", [](const icalrecurrencetype& r) -> const short* { return r.by_year_day; }},
    {"RRULE BYWEEKNO", [](const icalrecurrencetype& r) -> const short* { return r.by_week_no; }},
    {"RRULE BYMONTH", [](const icalrecurrencetype& r) -> const short* { return r.by_month; }},
    {"RRULE BYSETPOS", [](const icalrecurrencetype& r) -> const short* { return r.by_set_pos; }},
};

uint32_t WeekdayBit(int weekday) {  // 1 Sunday .. 7 Saturday
  return weekday >= ICAL_SUNDAY_WEEKDAY && weekday <= ICAL_SATURDAY_WEEKDAY
             ? 1u << (weekday - ICAL_SUNDAY_WEEKDAY)
             : 0u;
}

// The weekdays of BYDAY; `ordinal` is set when one carries a position (1MO).
uint32_t DayMask(const icalrecurrencetype& rule, bool* ordinal) {
  uint32_t mask = 0;
  for (int i = 0; i < ICAL_BY_DAY_SIZE && rule.by_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i) {
    mask |= WeekdayBit(icalrecurrencetype_day_day_of_week(rule.by_day[i]));
    if (icalrecurrencetype_day_position(rule.by_day[i]) != 0) *ordinal = true;
  }
  return mask;
}

Recurrence FromRule(const icalrecurrencetype& rule, icaltimetype start,
                    std::vector<std::string>* dropped) {
  Recurrence result;
  if (rule.freq != ICAL_DAILY_RECURRENCE && rule.freq != ICAL_WEEKLY_RECURRENCE) {
    const char* freq = icalrecur_freq_to_string(rule.freq);
    dropped->push_back(std::string("RRULE FREQ=") + (freq != nullptr ? freq : "?"));
    return result;
  }
  result.interval = rule.interval > 0 ? static_cast<uint32_t>(rule.interval) : 1;
  bool ordinal = false;
  const uint32_t by_day = DayMask(rule, &ordinal);
  if (rule.freq == ICAL_WEEKLY_RECURRENCE) {
    result.kind = kRecurWeekly;
    result.day_mask = by_day != 0 ? by_day : WeekdayBit(icaltime_day_of_week(start));
  } else if (by_day != 0 && result.interval == 1 && !ordinal) {
    result.kind = kRecurWeekly;
    result.day_mask = by_day;
  } else {
    result.kind = kRecurDaily;
    if (by_day != 0) dropped->push_back("RRULE BYDAY");
  }
  if (ordinal && result.kind == kRecurWeekly) dropped->push_back("RRULE BYDAY position");
  for (const ByPart& part : kUnsupportedParts) {
    if (HasValues(part.values(rule))) dropped->push_back(part.label);
  }
  if (rule.count > 0) dropped->push_back("RRULE COUNT");
  if (!icaltime_is_null_time(rule.until)) dropped->push_back("RRULE UNTIL");
  return result;
}

}  // namespace

Recurrence ReadRecurrence(icalcomponent* event, icaltimetype start,
                          std::vector<std::string>* dropped) {
  Recurrence result;
  bool first = true;
  for (icalproperty* prop = icalcomponent_get_first_property(event, ICAL_RRULE_PROPERTY);
       prop != nullptr; prop = icalcomponent_get_next_property(event, ICAL_RRULE_PROPERTY)) {
    if (!first) {
      dropped->push_back("RRULE (more than one)");
      break;
    }
    first = false;
    const icalrecurrencetype rule = icalproperty_get_rrule(prop);
    if (rule.freq == ICAL_NO_RECURRENCE) {
      dropped->push_back("RRULE (unreadable)");
      continue;
    }
    result = FromRule(rule, start, dropped);
  }
  return result;
}

}  // namespace ical
}  // namespace vimport
