/* virel: writes personal-folders mailbox files (PST layout, Unicode).
 *
 * Create a writer for one file, add folders, messages and calendar events,
 * close it, destroy it. Every call accepts NULL handles and texts; failures
 * come back as NULL or 0 and never as errors or exceptions. Texts are
 * NUL-terminated UTF-8; times are whole seconds since 1970-01-01 UTC.
 * One writer and its messages and events belong to one thread at a time. */
#ifndef VIREL_H
#define VIREL_H

#include <stdint.h>

/* The library's version; the build takes its project version from here. */
#define VIREL_VERSION_MAJOR 0
#define VIREL_VERSION_MINOR 2
#define VIREL_VERSION_PATCH 0
#define VIREL_VERSION_STR_(x) #x
#define VIREL_VERSION_STR(x) VIREL_VERSION_STR_(x)
#define VIREL_VERSION                                        \
  VIREL_VERSION_STR(VIREL_VERSION_MAJOR) "."                 \
  VIREL_VERSION_STR(VIREL_VERSION_MINOR) "." VIREL_VERSION_STR(VIREL_VERSION_PATCH)

#if defined(_WIN32)
#if defined(VIREL_BUILDING)
#define VIREL_API
#else
#define VIREL_API __declspec(dllimport)
#endif
#else
#define VIREL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct virel_writer virel_writer;
typedef struct virel_message virel_message;
typedef struct virel_event virel_event;

/* Writer lifecycle and folders.
 * virel_create_writer: NULL path means "out.pst"; missing directories are
 * created. virel_close completes the file; a second call does nothing.
 * virel_destroy_writer closes an unclosed writer first: call virel_close
 * before it, since a failure inside that implicit close ends the process.
 * virel_create_folder: "A/B" creates A and B inside it as needed and
 * returns B's node ID; an existing path returns the existing folder's ID;
 * a path with no folder name in it ("", "/") returns 0. */
VIREL_API virel_writer* virel_create_writer(const char* path);
VIREL_API void virel_close(virel_writer* writer);
VIREL_API void virel_destroy_writer(virel_writer* writer);
VIREL_API uint64_t virel_create_folder(virel_writer* writer, const char* path);

/* Messages. The writer copies a message when it is added; the caller
 * destroys the handle whenever it likes. Recipient types: 1 To, 2 Cc,
 * 3 Bcc; any other value is To. An attachment with NULL data or size 0 is
 * ignored; a NULL file name means "attachment". A NULL folder path means
 * "Inbox"; missing folders are created. Results are node IDs, 0 on
 * failure. */
VIREL_API virel_message* virel_create_message(void);
VIREL_API void virel_message_set_subject(virel_message* message, const char* text);
VIREL_API void virel_message_set_body_plain(virel_message* message, const char* text);
VIREL_API void virel_message_set_body_html(virel_message* message, const char* text);
VIREL_API void virel_message_set_sender(virel_message* message, const char* name,
                                        const char* address);
VIREL_API void virel_message_set_time(virel_message* message, int64_t seconds);
VIREL_API void virel_message_add_recipient(virel_message* message, const char* name,
                                           const char* address, int32_t type);
VIREL_API void virel_message_add_attachment(virel_message* message,
                                            const char* file_name, const void* data,
                                            uint64_t size);
VIREL_API void virel_destroy_message(virel_message* message);
VIREL_API uint64_t virel_writer_add_message(virel_writer* writer,
                                            const char* folder_path,
                                            virel_message* message);
VIREL_API uint64_t virel_add_message_simple(virel_writer* writer,
                                            const char* folder_path,
                                            const char* subject, const char* body);

/* Calendar events. A NULL folder path means "Calendar"; missing folders
 * are created. The subject, plain-body and location setters are the same
 * routines as the message setters for subject, plain body and HTML body.
 * Attendees and recurrence are kept with the event but not written. */
VIREL_API virel_event* virel_create_event(void);
VIREL_API void virel_event_set_subject(virel_event* event, const char* text);
VIREL_API void virel_event_set_location(virel_event* event, const char* text);
VIREL_API void virel_event_set_body_plain(virel_event* event, const char* text);
VIREL_API void virel_event_set_start_time(virel_event* event, int64_t seconds);
VIREL_API void virel_event_set_end_time(virel_event* event, int64_t seconds);
VIREL_API void virel_event_set_all_day(virel_event* event, int32_t all_day);
VIREL_API void virel_event_set_busy_status(virel_event* event, uint32_t status);
VIREL_API void virel_event_set_meeting_status(virel_event* event, uint32_t status);
VIREL_API void virel_event_set_organizer(virel_event* event, const char* name,
                                         const char* address);
VIREL_API void virel_event_add_attendee(virel_event* event, const char* name,
                                        const char* address, uint32_t type);
VIREL_API void virel_event_set_recurrence_daily(virel_event* event, uint32_t interval);
VIREL_API void virel_event_set_recurrence_weekly(virel_event* event, uint32_t interval,
                                                 uint32_t day_mask);
VIREL_API void virel_destroy_event(virel_event* event);
VIREL_API uint64_t virel_writer_add_event(virel_writer* writer, const char* folder_path,
                                          virel_event* event);

#ifdef __cplusplus
}
#endif

#endif /* VIREL_H */
