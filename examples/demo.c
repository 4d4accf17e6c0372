/* Writes a small but realistic mailbox: a few folders, messages with
 * recipients and an attachment, and two calendar events. */
#include <stdio.h>
#include <string.h>

#include "virel.h"

static const char kReport[] =
    "region,quarter,revenue\n"
    "north,Q3,1200\n"
    "south,Q3,950\n";

static uint64_t add_report(virel_writer* writer) {
  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "Q3 figures");
  virel_message_set_body_plain(m, "Hi team,\n\nthe Q3 figures are attached.\n\nAlice");
  virel_message_set_body_html(m, "<p>Hi team,</p><p>the Q3 figures are attached.</p>");
  virel_message_set_sender(m, "Alice Martin", "alice@example.com");
  virel_message_set_time(m, 1696161600); /* 2023-10-01 12:00 UTC */
  virel_message_add_recipient(m, "Bob Chen", "bob@example.com", 1);
  virel_message_add_recipient(m, "Carla Diaz", "carla@example.com", 2);
  virel_message_add_attachment(m, "q3.csv", kReport, sizeof(kReport) - 1);
  const uint64_t nid = virel_writer_add_message(writer, "Inbox", m);
  virel_destroy_message(m);
  return nid;
}

static uint64_t add_reply(virel_writer* writer) {
  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "Re: Q3 figures");
  virel_message_set_body_plain(m, "Thanks, looks good.");
  virel_message_set_sender(m, "Bob Chen", "bob@example.com");
  virel_message_set_time(m, 1696165200);
  virel_message_add_recipient(m, "Alice Martin", "alice@example.com", 1);
  const uint64_t nid = virel_writer_add_message(writer, "Projects/Reports", m);
  virel_destroy_message(m);
  return nid;
}

static uint64_t add_event(virel_writer* writer, const char* folder,
                          const char* subject, const char* location,
                          int64_t start, int64_t minutes) {
  virel_event* e = virel_create_event();
  virel_event_set_subject(e, subject);
  virel_event_set_location(e, location);
  virel_event_set_body_plain(e, "Agenda to follow.");
  virel_event_set_start_time(e, start);
  virel_event_set_end_time(e, start + minutes * 60);
  virel_event_set_organizer(e, "Alice Martin", "alice@example.com");
  virel_event_add_attendee(e, "Bob Chen", "bob@example.com", 1);
  const uint64_t nid = virel_writer_add_event(writer, folder, e);
  virel_destroy_event(e);
  return nid;
}

int main(int argc, char** argv) {
  const char* path = argc > 1 ? argv[1] : "demo/sample.pst";
  virel_writer* writer = virel_create_writer(path);
  if (writer == NULL) {
    fprintf(stderr, "cannot create %s\n", path);
    return 1;
  }
  int ok = virel_create_folder(writer, "Projects/Reports") != 0;
  ok = ok && virel_create_folder(writer, "Archive/2023") != 0;
  ok = ok && add_report(writer) != 0;
  ok = ok && add_reply(writer) != 0;
  ok = ok && virel_add_message_simple(writer, "Archive/2023", "Old notes",
                                      "Kept for reference.") != 0;
  ok = ok && add_event(writer, NULL, "Quarterly review", "Room 4",
                       1696406400, 60) != 0;
  ok = ok && add_event(writer, "Team/Meetings", "Weekly sync", "Video call",
                       1696492800, 30) != 0;
  virel_close(writer);
  virel_destroy_writer(writer);
  if (!ok) {
    fprintf(stderr, "writing %s failed\n", path);
    return 1;
  }
  printf("wrote %s\n", path);
  return 0;
}
