// The three setters shared by messages and events. Each routine has two
// export names: the event names are aliases of the message ones (on
// Windows the module-definition file binds them).
#include "api/barrier.h"
#include "api/handles.h"
#include "virel.h"

using virel::api::AsItem;
using virel::api::CopyText;
using virel::api::Guarded;

extern "C" {

VIREL_API void virel_message_set_subject(virel_message* item, const char* text) {
  if (item == nullptr) return;
  Guarded([&] { AsItem(item)->subject = CopyText(text); });
}

VIREL_API void virel_message_set_body_plain(virel_message* item,
                                            const char* text) {
  if (item == nullptr) return;
  Guarded([&] { AsItem(item)->body_plain = CopyText(text); });
}

// The message's HTML body and the event's location share this field.
VIREL_API void virel_message_set_body_html(virel_message* item,
                                           const char* text) {
  if (item == nullptr) return;
  Guarded([&] { AsItem(item)->third_text = CopyText(text); });
}

#if !defined(_WIN32)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wattribute-alias"
VIREL_API void virel_event_set_subject(virel_event*, const char*)
    __attribute__((alias("virel_message_set_subject")));
VIREL_API void virel_event_set_body_plain(virel_event*, const char*)
    __attribute__((alias("virel_message_set_body_plain")));
VIREL_API void virel_event_set_location(virel_event*, const char*)
    __attribute__((alias("virel_message_set_body_html")));
#pragma GCC diagnostic pop
#endif

}  // extern "C"
