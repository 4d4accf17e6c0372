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

/* Writer lifecycle and folders. */
VIREL_API virel_writer* virel_create_writer(const char* path);
VIREL_API void virel_close(virel_writer* writer);
VIREL_API void virel_destroy_writer(virel_writer* writer);

#ifdef __cplusplus
}
#endif

#endif /* VIREL_H */
