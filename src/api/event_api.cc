// Event exports (the subject, plain-body and location setters are shared
// with messages).
#include "api/barrier.h"
#include "api/handles.h"
#include "core/writer_impl.h"
#include "virel.h"

using virel::EventRecord;
using virel::api::AsEvent;
using virel::api::AsVirel;
using virel::api::CopyText;
using virel::api::Guarded;

extern "C" {

VIREL_API virel_event* virel_create_event(void) {
  return Guarded<virel_event*>(nullptr, [] {
    return virel::api::ToHandle(new EventRecord());
  });
}

VIREL_API void virel_event_set_start_time(virel_event* event, int64_t seconds) {
  if (event == nullptr) return;
  AsEvent(event)->start = virel::SecondsToTicks(seconds);
}

VIREL_API void virel_event_set_end_time(virel_event* event, int64_t seconds) {
  if (event == nullptr) return;
  AsEvent(event)->end = virel::SecondsToTicks(seconds);
}

VIREL_API void virel_event_set_all_day(virel_event* event, int32_t all_day) {
  if (event == nullptr) return;
  AsEvent(event)->all_day = all_day != 0;
}

VIREL_API void virel_event_set_busy_status(virel_event* event, uint32_t status) {
  if (event == nullptr) return;
  AsEvent(event)->busy_status = status;
}

VIREL_API void virel_event_set_meeting_status(virel_event* event,
                                              uint32_t status) {
  if (event == nullptr) return;
  AsEvent(event)->meeting_status = status;
}

VIREL_API void virel_event_set_organizer(virel_event* event, const char* name,
                                         const char* address) {
  if (event == nullptr) return;
  Guarded([&] {
    std::string n = CopyText(name), a = CopyText(address);
    AsEvent(event)->organizer_name.swap(n);
    AsEvent(event)->organizer_address.swap(a);
  });
}

VIREL_API void virel_event_add_attendee(virel_event* event, const char* name,
                                        const char* address, uint32_t type) {
  if (event == nullptr) return;
  Guarded([&] {
    AsEvent(event)->attendees.push_back({CopyText(name), CopyText(address), type});
  });
}

VIREL_API void virel_event_set_recurrence_daily(virel_event* event,
                                                uint32_t interval) {
  if (event == nullptr) return;
  AsEvent(event)->recurrence_kind = virel::kRecurrenceDaily;
  AsEvent(event)->recurrence_interval = interval;
}

VIREL_API void virel_event_set_recurrence_weekly(virel_event* event,
                                                 uint32_t interval,
                                                 uint32_t day_mask) {
  if (event == nullptr) return;
  AsEvent(event)->recurrence_kind = virel::kRecurrenceWeekly;
  AsEvent(event)->recurrence_interval = interval;
  AsEvent(event)->recurrence_day_mask = day_mask;
}

VIREL_API void virel_destroy_event(virel_event* event) { delete AsEvent(event); }

VIREL_API uint64_t virel_writer_add_event(virel_writer* writer,
                                          const char* folder_path,
                                          virel_event* event) {
  if (writer == nullptr || event == nullptr) return 0;
  return Guarded<uint64_t>(0, [&] {
    return AsVirel(writer)->impl().AddEvent(
        CopyText(folder_path, virel::kDefaultEventFolder), *AsEvent(event));
  });
}

}  // extern "C"
