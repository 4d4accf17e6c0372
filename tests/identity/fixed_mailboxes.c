/* Writes a fixed set of mailboxes through the C interface, one file per
 * kind of content, so that their hashes can be compared with hashes
 * recorded once: any change in the bytes the library writes shows up here.
 * Nothing stamps the current time and every byte of data is computed.
 *   virel_fixed_mailboxes DIRECTORY */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "../windows/sample_texts.h"
#include "virel.h"


static const int64_t kBaseTime = 1700000000;

static void fill(unsigned char* data, size_t size, unsigned seed) {
  size_t i;
  for (i = 0; i < size; ++i) data[i] = (unsigned char)(i * 131u + seed + (i >> 11));
}

static virel_writer* open_writer(const char* dir, const char* name) {
  char path[1024];
  virel_writer* w;
  snprintf(path, sizeof path, "%s/%s", dir, name);
  w = virel_create_writer(path);
  if (w == NULL) {
    fprintf(stderr, "cannot create %s\n", path);
    exit(1);
  }
  return w;
}

static void finish(virel_writer* w) {
  virel_close(w);
  virel_destroy_writer(w);
}

/* A body of `size` bytes of printable text. */
static char* body_text(size_t size, unsigned seed) {
  char* text = malloc(size + 1);
  size_t i;
  if (text == NULL) exit(1);
  for (i = 0; i < size; ++i) text[i] = (char)('a' + (i * 7 + seed) % 26);
  for (i = 63; i < size; i += 64) text[i] = ' ';
  text[size] = '\0';
  return text;
}

static void add_message(virel_writer* w, const char* folder, unsigned i,
                        const char* subject, const char* body, int recipients) {
  virel_message* m = virel_create_message();
  int r;
  if (m == NULL) exit(1);
  virel_message_set_subject(m, subject);
  virel_message_set_body_plain(m, body);
  virel_message_set_sender(m, "Sender Name", "sender@example.com");
  virel_message_set_time(m, kBaseTime + (int64_t)i * 60);
  for (r = 0; r < recipients; ++r) {
    char name[32], address[48];
    snprintf(name, sizeof name, "Recipient %u-%d", i, r);
    snprintf(address, sizeof address, "r%u.%d@example.com", i, r);
    virel_message_add_recipient(m, name, address, r % 3 + 1);
  }
  expect_nid(virel_writer_add_message(w, folder, m), subject);
  virel_destroy_message(m);
}

/* Messages with a body of `body_size` bytes, spread over the folders in
 * turn, with up to `max_recipients` recipients (none when 0). */
struct MessageSet {
  const char* file;
  const char* folders[3];
  unsigned folder_count;
  unsigned count;
  size_t body_size;
  unsigned body_seed;
  const char* subject;
  unsigned max_recipients;
};

static void messages(const char* dir, const struct MessageSet* set) {
  virel_writer* w = open_writer(dir, set->file);
  char* body = body_text(set->body_size, set->body_seed);
  unsigned i;
  /* Folders exist before their messages: the order in which a message and
   * the folders its path creates draw node IDs is not what this checks. */
  for (i = 1; i < set->folder_count; ++i) {
    expect_nid(virel_create_folder(w, set->folders[i]), set->folders[i]);
  }
  for (i = 0; i < set->count; ++i) {
    char subject[64];
    snprintf(subject, sizeof subject, "%s %u", set->subject, i);
    add_message(w, set->folders[i % set->folder_count], i, subject, body,
                set->max_recipients ? 1 + (int)(i % set->max_recipients) : 0);
  }
  free(body);
  finish(w);
}

/* Attachments of one block, of several blocks under an XBLOCK, and one of
 * 2.5 MB in a file of its own (the block B-tree holds 400 blocks). */
static void attachments(const char* dir, const char* name,
                        const size_t* sizes, size_t count) {
  virel_writer* w = open_writer(dir, name);
  size_t k;
  for (k = 0; k < count; ++k) {
    unsigned char* data = malloc(sizes[k]);
    char subject[64], file_name[32];
    virel_message* m = virel_create_message();
    if (data == NULL || m == NULL) exit(1);
    fill(data, sizes[k], (unsigned)k);
    snprintf(subject, sizeof subject, "Attachment of %u bytes", (unsigned)sizes[k]);
    snprintf(file_name, sizeof file_name, "file%u.bin", (unsigned)k);
    virel_message_set_subject(m, subject);
    virel_message_set_time(m, kBaseTime + (int64_t)k);
    virel_message_add_recipient(m, "To", "to@example.com", 1);
    virel_message_add_attachment(m, file_name, data, sizes[k]);
    if (k == 3) virel_message_add_attachment(m, NULL, data, 500);
    expect_nid(virel_writer_add_message(w, "Inbox", m), subject);
    virel_destroy_message(m);
    free(data);
  }
  finish(w);
}

static void events(const char* dir) {
  virel_writer* w = open_writer(dir, "events.pst");
  char* body = body_text(300, 7);
  unsigned i;
  for (i = 0; i < 40; ++i) {
    char subject[64];
    virel_event* e = virel_create_event();
    if (e == NULL) exit(1);
    snprintf(subject, sizeof subject, "Event %u", i);
    virel_event_set_subject(e, subject);
    virel_event_set_location(e, i % 2 ? "Room 1" : kTexts[i % TEXT_COUNT]);
    virel_event_set_body_plain(e, body);
    virel_event_set_start_time(e, kBaseTime + (int64_t)i * 86400);
    virel_event_set_end_time(e, kBaseTime + (int64_t)i * 86400 + 3600);
    virel_event_set_all_day(e, i % 5 == 0);
    virel_event_set_busy_status(e, i % 4);
    virel_event_set_meeting_status(e, i % 3);
    virel_event_set_organizer(e, "Organizer", "org@example.com");
    virel_event_add_attendee(e, "Attendee", "att@example.com", 1);
    if (i % 3 == 0) virel_event_set_recurrence_weekly(e, 1, 0x2A);
    expect_nid(virel_writer_add_event(w, i % 4 ? NULL : "Team Calendar", e), subject);
    virel_destroy_event(e);
    if (i % 4 == 1) {
      char text[32];
      snprintf(text, sizeof text, "Note %u", i);
      add_message(w, "Inbox", i, text, body, 1);
    }
  }
  free(body);
  finish(w);
}

/* As many folders as the block B-tree allows. */
static void many_folders(const char* dir) {
  virel_writer* w = open_writer(dir, "folders.pst");
  unsigned i;
  for (i = 0; i < 24; ++i) {
    char path[96];
    snprintf(path, sizeof path, "Top %u/Leaf %u", i % 4, i);
    expect_nid(virel_create_folder(w, path), path);
    if (i % 6 == 0) add_message(w, path, i, path, "in a deep folder", 1);
  }
  finish(w);
}

/* Well-formed and ill-formed UTF-8 in every text a mailbox holds. */
static void utf8_texts(const char* dir) {
  virel_writer* w = open_writer(dir, "utf8.pst");
  unsigned i;
  for (i = 0; i < TEXT_COUNT; ++i) {
    unsigned j = (unsigned)((i + 1) % TEXT_COUNT);
    char folder[128];
    unsigned char data[100];
    virel_message* m = virel_create_message();
    if (m == NULL) exit(1);
    snprintf(folder, sizeof folder, "Folder %u %s", i, kTexts[i]);
    expect_nid(virel_create_folder(w, folder), folder);
    virel_message_set_subject(m, kTexts[i]);
    virel_message_set_body_plain(m, kTexts[j]);
    virel_message_set_body_html(m, kTexts[i]);
    virel_message_set_sender(m, kTexts[j], kTexts[i]);
    virel_message_set_time(m, kBaseTime - (int64_t)i * 1000);
    virel_message_add_recipient(m, kTexts[i], kTexts[j], 2);
    fill(data, sizeof data, i);
    virel_message_add_attachment(m, kTexts[i], data, sizeof data);
    expect_nid(virel_writer_add_message(w, folder, m), "utf8 message");
    virel_destroy_message(m);
  }
  finish(w);
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: virel_fixed_mailboxes DIRECTORY\n");
    return 2;
  }
  {
    static const struct MessageSet kSmall = {
        "small.pst", {"Inbox", "Archive", "Work/Reports"}, 3, 90, 1000, 3, "Small message", 0};
    static const struct MessageSet kRecipients = {
        "recipients.pst", {"Sent Items", "Inbox", NULL}, 2, 40, 600, 5,
        "Message with recipients", 4};
    messages(argv[1], &kSmall);
    messages(argv[1], &kRecipients);
  }
  {
    static const size_t kSmall[] = {1, 8176, 8177, 70000, 300000};
    static const size_t kLarge[] = {2621440};
    attachments(argv[1], "attachments.pst", kSmall, sizeof kSmall / sizeof kSmall[0]);
    attachments(argv[1], "attachment-2.5mb.pst", kLarge, 1);
  }
  events(argv[1]);
  many_folders(argv[1]);
  utf8_texts(argv[1]);
  return failures == 0 ? 0 : 1;
}
