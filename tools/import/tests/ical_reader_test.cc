// The iCalendar reader on small hand-written calendars.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "ical_reader.h"
#include "ical_status.h"

namespace vimport {
namespace {

// A zone with European summer time: +01:00, +02:00 from the last Sunday
// of March to the last Sunday of October.
const char kOfficeZone[] =
    "BEGIN:VTIMEZONE\r\n"
    "TZID:Office Time\r\n"
    "BEGIN:STANDARD\r\n"
    "DTSTART:19701025T030000\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=10;BYDAY=-1SU\r\n"
    "TZOFFSETFROM:+0200\r\n"
    "TZOFFSETTO:+0100\r\n"
    "END:STANDARD\r\n"
    "BEGIN:DAYLIGHT\r\n"
    "DTSTART:19700329T020000\r\n"
    "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=-1SU\r\n"
    "TZOFFSETFROM:+0100\r\n"
    "TZOFFSETTO:+0200\r\n"
    "END:DAYLIGHT\r\n"
    "END:VTIMEZONE\r\n";

std::string Event(const std::string& lines) {
  return "BEGIN:VEVENT\r\nUID:x\r\nDTSTAMP:20210101T000000Z\r\n" + lines + "END:VEVENT\r\n";
}

std::string Calendar(const std::string& body, const std::string& head = "") {
  return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//virel//tests//EN\r\n" + head + body +
         "END:VCALENDAR\r\n";
}

std::vector<EventItem> Parse(const std::string& text, std::vector<std::string>* errors = nullptr) {
  std::vector<std::string> local;
  std::vector<EventItem> events = ParseCalendar(text, errors != nullptr ? errors : &local);
  return events;
}

bool Has(const std::vector<std::string>& labels, const std::string& label) {
  return std::find(labels.begin(), labels.end(), label) != labels.end();
}

TEST(IcalReader, ConvertsZonedTimesToUtcAcrossDaylightSaving) {
  const std::vector<EventItem> events = Parse(Calendar(
      std::string(kOfficeZone) +
      Event("SUMMARY:winter\r\nDTSTART;TZID=Office Time:20210115T100000\r\n"
            "DTEND;TZID=Office Time:20210115T110000\r\n") +
      Event("DTSTART;TZID=\"Office Time\":20210715T100000\r\nDURATION:PT90M\r\n") +
      // A nominal day across the change to summer time lasts 23 hours...
      Event("DTSTART;TZID=Office Time:20210327T120000\r\nDURATION:P1D\r\n") +
      // ...while 24 hours stay 24 hours.
      Event("DTSTART;TZID=Office Time:20210327T120000\r\nDURATION:PT24H\r\n") +
      Event("DTSTART;TZID=America/New_York:20210701T090000\r\n") +
      Event("DTSTART:20210601T120000Z\r\nDTEND:20210601T130000Z\r\n") +
      Event("DTSTART:20210601T120000\r\nDTEND;TZID=Nowhere/Special:20210601T130000\r\n")));
  ASSERT_EQ(events.size(), 7u);
  EXPECT_EQ(events[0].subject, "winter");
  EXPECT_EQ(events[0].start, 1610701200);  // 2021-01-15 09:00 UTC
  EXPECT_EQ(events[0].end, 1610701200 + 3600);
  EXPECT_EQ(events[1].start, 1626336000);  // 2021-07-15 08:00 UTC
  EXPECT_EQ(events[1].end, 1626336000 + 90 * 60);
  EXPECT_EQ(events[2].start, 1616842800);  // 2021-03-27 11:00 UTC
  EXPECT_EQ(events[2].end, 1616925600);    // 2021-03-28 10:00 UTC
  EXPECT_EQ(events[3].end, 1616929200);    // 2021-03-28 11:00 UTC
  // Built-in zone: 09:00 EDT.
  EXPECT_EQ(events[4].start, 1625144400);
  EXPECT_EQ(events[4].end, events[4].start);
  EXPECT_EQ(events[5].start, 1622548800);
  EXPECT_EQ(events[5].end, 1622552400);
  EXPECT_TRUE(events[5].dropped.empty());
  for (const EventItem& event : events) EXPECT_FALSE(event.all_day);
  // Floating and unknown zones are read as UTC, and say so.
  EXPECT_EQ(events[6].start, 1622548800);
  EXPECT_EQ(events[6].end, 1622552400);
  EXPECT_TRUE(Has(events[6].dropped, "floating time taken as UTC"));
  EXPECT_TRUE(Has(events[6].dropped, "unknown TZID Nowhere/Special taken as UTC"));
}

TEST(IcalReader, DatesMakeAllDayEventsFromMidnightUtc) {
  const std::vector<EventItem> events = Parse(Calendar(
      Event("DTSTART;VALUE=DATE:20210504\r\nDTEND;VALUE=DATE:20210506\r\n") +
      Event("DTSTART;VALUE=DATE:20210504\r\n") +
      Event("DTSTART;VALUE=DATE:20210504\r\nDURATION:P3D\r\n")));
  ASSERT_EQ(events.size(), 3u);
  for (const EventItem& event : events) {
    EXPECT_TRUE(event.all_day);
    EXPECT_EQ(event.start, 1620086400);  // 2021-05-04 00:00 UTC
    EXPECT_TRUE(event.dropped.empty());
  }
  EXPECT_EQ(events[0].end, 1620259200);
  EXPECT_EQ(events[1].end, 1620172800);
  EXPECT_EQ(events[2].end, 1620345600);
}

TEST(IcalReader, TextsAreUnescaped) {
  const std::vector<EventItem> events = Parse(Calendar(Event(
      "DTSTART:20210601T120000Z\r\nSUMMARY:Caf\xC3\xA9\\, lunch\r\n"
      "LOCATION:Room 1\\; floor 2\r\nDESCRIPTION:line one\\nline two with a long\r\n  tail\r\n")));
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].subject, "Caf\xC3\xA9, lunch");
  EXPECT_EQ(events[0].location, "Room 1; floor 2");
  EXPECT_EQ(events[0].description, "line one\nline two with a long tail");
}

TEST(IcalReader, ReadsByteOrderMarksAndNonUtf8Text) {
  const std::string calendar =
      Calendar(Event("DTSTART:20210601T120000Z\r\nSUMMARY:Caf\xE9 \x80\r\n"));
  std::vector<std::string> errors;
  std::vector<EventItem> events = Parse(calendar, &errors);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].subject, "Caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ(errors, std::vector<std::string>{"input is not UTF-8; read as Windows-1252"});

  // 0x81 has no Windows-1252 character.
  errors.clear();
  events = Parse(Calendar(Event("DTSTART:20210601T120000Z\r\nSUMMARY:\xE9\x81\r\n")), &errors);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].subject, "\xC3\xA9\xC2\x81");
  EXPECT_EQ(errors, std::vector<std::string>{"input is not UTF-8; read as ISO-8859-1"});

  const std::string utf8 =
      Calendar(Event("DTSTART:20210601T120000Z\r\nSUMMARY:Caf\xC3\xA9\r\n"));
  std::string utf16le = "\xFF\xFE";
  for (char c : Calendar(Event("DTSTART:20210601T120000Z\r\nSUMMARY:Caf\xE9\r\n"))) {
    utf16le += c;
    utf16le += '\0';
  }
  for (const std::string& text : {"\xEF\xBB\xBF" + utf8, utf16le}) {
    errors.clear();
    events = Parse(text, &errors);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].subject, "Caf\xC3\xA9");
    EXPECT_EQ(events[0].start, 1622548800);
    EXPECT_TRUE(errors.empty());
  }
}

TEST(IcalReader, BusyStatusFromTranspStatusAndOutlookProperty) {
  const std::string start = "DTSTART:20210601T120000Z\r\n";
  const std::vector<EventItem> events = Parse(Calendar(
      Event(start) + Event(start + "TRANSP:TRANSPARENT\r\n") +
      Event(start + "STATUS:TENTATIVE\r\n") + Event(start + "X-MICROSOFT-CDO-BUSYSTATUS:OOF\r\n") +
      Event(start + "TRANSP:OPAQUE\r\nX-MICROSOFT-CDO-BUSYSTATUS:free\r\n") +
      Event(start + "TRANSP:TRANSPARENT\r\nSTATUS:TENTATIVE\r\n") +
      Event(start + "X-MICROSOFT-CDO-INTENDEDSTATUS:TENTATIVE\r\n")));
  ASSERT_EQ(events.size(), 7u);
  EXPECT_EQ(events[0].busy_status, ical::kBusyBusy);
  EXPECT_EQ(events[1].busy_status, ical::kBusyFree);
  EXPECT_EQ(events[2].busy_status, ical::kBusyTentative);
  EXPECT_EQ(events[3].busy_status, ical::kBusyOutOfOffice);
  EXPECT_EQ(events[4].busy_status, ical::kBusyFree);
  EXPECT_EQ(events[5].busy_status, ical::kBusyFree);
  EXPECT_EQ(events[6].busy_status, ical::kBusyTentative);
}

TEST(IcalReader, OrganizerAttendeesAndMeetingStatus) {
  const std::string meeting =
      "DTSTART:20210601T120000Z\r\n"
      "ORGANIZER;CN=\"Boss, The\":MAILTO:boss@example.org\r\n"
      "ATTENDEE;CN=Ann;ROLE=REQ-PARTICIPANT:mailto:ann@example.org\r\n"
      "ATTENDEE;ROLE=OPT-PARTICIPANT:mailto:bob@example.org\r\n"
      "ATTENDEE;ROLE=NON-PARTICIPANT:mailto:info@example.org\r\n"
      "ATTENDEE;ROLE=CHAIR;CN=Chair:mailto:chair@example.org\r\n"
      "ATTENDEE;CUTYPE=ROOM;ROLE=NON-PARTICIPANT;CN=Room 1:mailto:room1@example.org\r\n"
      "ATTENDEE;CUTYPE=RESOURCE:mailto:projector@example.org\r\n"
      "ATTENDEE:urn:uuid:1234\r\n";
  std::vector<EventItem> events = Parse(Calendar(
      Event(meeting) + Event("DTSTART:20210601T120000Z\r\nSTATUS:CANCELLED\r\n") +
      Event("DTSTART:20210601T120000Z\r\nATTENDEE:mailto:a@example.org\r\n"
            "STATUS:CANCELLED\r\n")));
  ASSERT_EQ(events.size(), 3u);
  const EventItem& event = events[0];
  EXPECT_EQ(event.organizer.name, "Boss, The");
  EXPECT_EQ(event.organizer.address, "boss@example.org");
  ASSERT_EQ(event.attendees.size(), 7u);
  const uint32_t expected_types[] = {kAttendeeRequired, kAttendeeOptional, kAttendeeOptional,
                                     kAttendeeRequired, kAttendeeResource, kAttendeeResource,
                                     kAttendeeRequired};
  for (size_t i = 0; i < event.attendees.size(); ++i) {
    EXPECT_EQ(event.attendees[i].type, expected_types[i]) << "attendee " << i;
  }
  EXPECT_EQ(event.attendees[0].who.name, "Ann");
  EXPECT_EQ(event.attendees[0].who.address, "ann@example.org");
  EXPECT_EQ(event.attendees[1].who.name, "");
  EXPECT_EQ(event.attendees[4].who.name, "Room 1");
  EXPECT_EQ(event.attendees[6].who.address, "urn:uuid:1234");
  EXPECT_EQ(event.meeting_status, ical::kMeeting);
  // Canceled: an appointment cannot say so, a meeting can.
  EXPECT_EQ(events[1].meeting_status, ical::kNotAMeeting);
  EXPECT_TRUE(Has(events[1].dropped, "STATUS:CANCELLED"));
  EXPECT_EQ(events[2].meeting_status, ical::kMeetingCanceled);
  EXPECT_TRUE(events[2].dropped.empty());

  events = Parse(Calendar(Event(meeting) + Event("DTSTART:20210601T120000Z\r\n"),
                          "METHOD:REQUEST\r\n"));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].meeting_status, ical::kMeetingReceived);
  EXPECT_EQ(events[1].meeting_status, ical::kNotAMeeting);
  events = Parse(Calendar(Event(meeting), "METHOD:CANCEL\r\n"));
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].meeting_status, ical::kMeetingCanceled);
}

TEST(IcalReader, DailyAndWeeklyRulesBecomeRecurrences) {
  // 2021-06-10 is a Thursday.
  const std::string start = "DTSTART;TZID=Office Time:20210610T233000\r\n";
  const std::vector<EventItem> events = Parse(Calendar(
      std::string(kOfficeZone) + Event(start + "RRULE:FREQ=DAILY;INTERVAL=3\r\n") +
      Event(start + "RRULE:FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE,FR\r\n") +
      Event(start + "RRULE:FREQ=WEEKLY\r\n") +
      Event(start + "RRULE:FREQ=DAILY;BYDAY=MO,TU,WE,TH,FR\r\n") +
      Event(start + "RRULE:FREQ=DAILY;INTERVAL=2;BYDAY=SA,SU\r\n") +
      Event(start + "RRULE:FREQ=WEEKLY;BYDAY=SU;COUNT=10\r\n") +
      Event(start + "RRULE:FREQ=WEEKLY;UNTIL=20211231T000000Z;BYMONTH=6,7\r\n") +
      Event(start + "RRULE:FREQ=MONTHLY;BYDAY=2TU\r\n") + Event(start)));
  ASSERT_EQ(events.size(), 9u);
  EXPECT_EQ(events[0].recurrence, kRecurDaily);
  EXPECT_EQ(events[0].interval, 3u);
  EXPECT_EQ(events[0].day_mask, 0u);
  EXPECT_EQ(events[1].recurrence, kRecurWeekly);
  EXPECT_EQ(events[1].interval, 2u);
  EXPECT_EQ(events[1].day_mask, (1u << 1) | (1u << 3) | (1u << 5));
  // Without BYDAY: the local weekday of the start, not the UTC one.
  EXPECT_EQ(events[2].recurrence, kRecurWeekly);
  EXPECT_EQ(events[2].day_mask, 1u << 4);
  EXPECT_EQ(events[3].recurrence, kRecurWeekly);
  EXPECT_EQ(events[3].interval, 1u);
  EXPECT_EQ(events[3].day_mask, 0x3Eu);
  EXPECT_EQ(events[4].recurrence, kRecurDaily);
  EXPECT_EQ(events[4].interval, 2u);
  EXPECT_EQ(events[4].dropped, std::vector<std::string>{"RRULE BYDAY"});
  EXPECT_EQ(events[5].day_mask, 1u);
  EXPECT_EQ(events[5].dropped, std::vector<std::string>{"RRULE COUNT"});
  EXPECT_EQ(events[6].recurrence, kRecurWeekly);
  EXPECT_TRUE(Has(events[6].dropped, "RRULE UNTIL"));
  EXPECT_TRUE(Has(events[6].dropped, "RRULE BYMONTH"));
  EXPECT_EQ(events[7].recurrence, kRecurNone);
  EXPECT_EQ(events[7].dropped, std::vector<std::string>{"RRULE FREQ=MONTHLY"});
  EXPECT_EQ(events[8].recurrence, kRecurNone);
  EXPECT_TRUE(events[8].dropped.empty());
}

TEST(IcalReader, NamesWhatTheWriterCannotCarry) {
  const std::vector<EventItem> events = Parse(Calendar(
      Event("DTSTART:20210601T120000Z\r\nRRULE:FREQ=DAILY\r\nRRULE:FREQ=WEEKLY\r\n"
            "EXDATE:20210602T120000Z\r\nEXDATE:20210603T120000Z\r\nRDATE:20210610T120000Z\r\n"
            "ATTACH:https://example.org/a.pdf\r\n"
            "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:x\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n") +
      Event("DTSTART:20210603T150000Z\r\nRECURRENCE-ID:20210603T120000Z\r\n")));
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].recurrence, kRecurDaily);
  const std::vector<std::string> expected = {"RRULE (more than one)", "RDATE", "EXDATE", "ATTACH",
                                             "VALARM"};
  EXPECT_EQ(events[0].dropped, expected);
  EXPECT_EQ(events[1].dropped, std::vector<std::string>{"RECURRENCE-ID"});
}

TEST(IcalReader, ReadsEveryCalendarAndKeepsEachEventsText) {
  const std::string first = Event("SUMMARY:one\r\nDTSTART:20210601T120000Z\r\n");
  const std::string second = Event("SUMMARY:two\r\nDTSTART:20210602T120000Z\r\n");
  const std::string third = "BEGIN:VEVENT\nSUMMARY:three\nDTSTART:20210603T120000Z\nEND:VEVENT\n";
  std::vector<std::string> errors;
  const std::vector<EventItem> events =
      Parse(Calendar(first + second) +
                Calendar(third + "BEGIN:VTODO\r\nSUMMARY:todo\r\nEND:VTODO\r\n"),
            &errors);
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].subject, "one");
  EXPECT_EQ(events[1].subject, "two");
  EXPECT_EQ(events[2].subject, "three");
  EXPECT_EQ(events[0].source, first);
  EXPECT_EQ(events[1].source, second);
  EXPECT_EQ(events[2].source, third);
  EXPECT_EQ(errors, std::vector<std::string>{"a VTODO is not imported"});

  // A VEVENT libical does not see as one (here inside a VTODO) breaks the
  // match of blocks to events: each event's text is then libical's own.
  const std::vector<EventItem> mismatched = Parse(Calendar(
      first + "BEGIN:VTODO\r\nBEGIN:VEVENT\r\nSUMMARY:hidden\r\nEND:VEVENT\r\nEND:VTODO\r\n"));
  ASSERT_EQ(mismatched.size(), 1u);
  EXPECT_EQ(mismatched[0].source.rfind("BEGIN:VEVENT\r\n", 0), 0u);
  EXPECT_NE(mismatched[0].source.find("SUMMARY:one\r\n"), std::string::npos);
  EXPECT_EQ(mismatched[0].source.find("hidden"), std::string::npos);
}

TEST(IcalReader, BrokenInputIsReportedNotFatal) {
  std::vector<std::string> errors;
  EXPECT_TRUE(Parse("", &errors).empty());
  EXPECT_FALSE(errors.empty());

  errors.clear();
  EXPECT_TRUE(Parse(std::string("\x00\xff\xfe garbage \x01\x02\n\n", 16), &errors).empty());
  EXPECT_FALSE(errors.empty());

  // Truncated in the middle of the second event; bad lines inside the first.
  errors.clear();
  std::vector<EventItem> events = Parse(
      "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nSUMMARY:kept\r\nDTSTART:2021XX01T120000Z\r\n"
      "this line has no colon\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nSUMMARY:cut",
      &errors);
  ASSERT_GE(events.size(), 1u);
  EXPECT_EQ(events[0].subject, "kept");
  EXPECT_EQ(events[0].start, 0);
  EXPECT_TRUE(Has(errors, "event 0: no readable DTSTART"));

  // A NUL byte does not end the input.
  errors.clear();
  const std::string with_nul =
      Calendar(Event(std::string("SUMMARY:a") + '\0' + "b\r\nDTSTART:20210601T120000Z\r\n"));
  events = Parse(with_nul, &errors);
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].subject, "ab");
  EXPECT_EQ(events[0].start, 1622548800);
  EXPECT_TRUE(Has(errors, "NUL bytes in the input were removed"));

  // Absurd nesting is refused before libical builds a tree of it.
  errors.clear();
  std::string deep;
  for (int i = 0; i < 50000; ++i) deep += "BEGIN:VCALENDAR\r\nBEGIN;X=1:VEVENT\r\n";
  EXPECT_TRUE(Parse(deep, &errors).empty());
  EXPECT_FALSE(errors.empty());
}

}  // namespace
}  // namespace vimport
