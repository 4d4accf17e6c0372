/* Writes one fixed mailbox through the C interface: folders, messages with
 * recipients and attachments, events, non-ASCII and ill-formed UTF-8 text.
 * The Linux and the Windows builds of this program must write byte-identical
 * files. Nothing here stamps the current time.
 *   virel_scenario OUTPUT */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "sample_texts.h"
#include "virel.h"


static void fill(unsigned char* data, size_t size, unsigned seed) {
  size_t i;
  for (i = 0; i < size; ++i) data[i] = (unsigned char)(i * 31u + seed + (i >> 9));
}

int main(int argc, char** argv) {
  static unsigned char big[70000];
  unsigned char small[300];
  virel_writer* w;
  size_t i;

  if (argc != 2) {
    fprintf(stderr, "usage: virel_scenario OUTPUT\n");
    return 2;
  }
  w = virel_create_writer(argv[1]);
  if (w == NULL) {
    fprintf(stderr, "cannot create %s\n", argv[1]);
    return 1;
  }
  expect_nid(virel_create_folder(w, "Projects"), "folder Projects");
  expect_nid(virel_create_folder(w, "Projects/2024/Q1"), "folder Projects/2024/Q1");
  expect_nid(virel_create_folder(w, "Archiv \xC3\xA4lter"), "folder with umlaut");

  for (i = 0; i < 48; ++i) {
    static const char* const kFolders[] = {NULL, "Inbox", "Projects/2024/Q1",
                                           "Archiv \xC3\xA4lter", "Sent Items"};
    char subject[96];
    virel_message* m = virel_create_message();
    if (m == NULL) return 1;
    snprintf(subject, sizeof subject, "Message %u: %s", (unsigned)i, kTexts[i % TEXT_COUNT]);
    virel_message_set_subject(m, subject);
    virel_message_set_body_plain(m, kTexts[(i + 1) % TEXT_COUNT]);
    if (i % 3 == 0) virel_message_set_body_html(m, "<p>Hello <b>there</b></p>");
    virel_message_set_sender(m, kTexts[(i + 2) % TEXT_COUNT], "sender@example.com");
    virel_message_set_time(m, 1700000000 + (int64_t)i * 3600);
    virel_message_add_recipient(m, "To Person", "to@example.com", 1);
    if (i % 2 == 0) virel_message_add_recipient(m, "Cc Person", "cc@example.com", 2);
    if (i % 5 == 0) virel_message_add_recipient(m, kTexts[i % TEXT_COUNT], "bcc@example.com", 3);
    if (i % 4 == 0) {
      fill(small, sizeof small, (unsigned)i);
      virel_message_add_attachment(m, "notes.txt", small, sizeof small);
    }
    if (i % 20 == 7) {
      fill(big, sizeof big, (unsigned)i);
      virel_message_add_attachment(m, NULL, big, sizeof big);
      virel_message_add_attachment(m, "r\xC3\xA9sum\xC3\xA9.bin", big, 9000);
    }
    expect_nid(virel_writer_add_message(w, kFolders[i % 5], m), "message");
    virel_destroy_message(m);
  }

  for (i = 0; i < 20; ++i) {
    virel_event* e = virel_create_event();
    if (e == NULL) return 1;
    virel_event_set_subject(e, kTexts[i % TEXT_COUNT]);
    virel_event_set_body_plain(e, "Agenda follows.");
    virel_event_set_location(e, kTexts[(i + 3) % TEXT_COUNT]);
    virel_event_set_start_time(e, 1710000000 + (int64_t)i * 86400);
    virel_event_set_end_time(e, 1710000000 + (int64_t)i * 86400 + 1800 * (int64_t)(i % 5 + 1));
    virel_event_set_all_day(e, i % 7 == 0);
    virel_event_set_busy_status(e, (uint32_t)(i % 4));
    virel_event_set_meeting_status(e, (uint32_t)(i % 2));
    virel_event_set_organizer(e, "Org \xC3\x96rganizer", "org@example.com");
    virel_event_add_attendee(e, "Attendee", "att@example.com", 1);
    if (i % 3 == 0) virel_event_set_recurrence_daily(e, 2);
    if (i % 3 == 1) virel_event_set_recurrence_weekly(e, 1, 0x2A);
    expect_nid(virel_writer_add_event(w, i % 2 ? NULL : "Calendar/Team", e), "event");
    virel_destroy_event(e);
  }

  virel_close(w);
  virel_destroy_writer(w);
  return failures == 0 ? 0 : 1;
}
