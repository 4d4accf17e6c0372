// Message exports.
#include <chrono>

#include "api/barrier.h"
#include "api/handles.h"
#include "core/writer_impl.h"
#include "virel.h"

using virel::MessageRecord;
using virel::RecipientKind;
using virel::api::AsMessage;
using virel::api::AsVirel;
using virel::api::CopyText;
using virel::api::Guarded;

namespace {

constexpr char kDefaultAttachmentName[] = "attachment";

// The interface numbers To, Cc and Bcc from 1; unknown values mean To.
RecipientKind KindOf(int32_t type) {
  if (type == 2) return RecipientKind::kCc;
  if (type == 3) return RecipientKind::kBcc;
  return RecipientKind::kTo;
}

int64_t NowTicks() {
  using Ticks = std::chrono::duration<int64_t, std::ratio<1, 10000000>>;
  return std::chrono::duration_cast<Ticks>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

uint64_t Add(virel_writer* writer, const char* folder_path,
             const MessageRecord& m) {
  return AsVirel(writer)->impl().AddMessage(
      CopyText(folder_path, virel::kDefaultMessageFolder), m);
}

}  // namespace

extern "C" {

VIREL_API virel_message* virel_create_message(void) {
  return Guarded<virel_message*>(nullptr, [] {
    return virel::api::ToHandle(new MessageRecord());
  });
}

VIREL_API void virel_message_set_sender(virel_message* message,
                                        const char* name, const char* address) {
  if (message == nullptr) return;
  Guarded([&] {
    std::string n = CopyText(name), a = CopyText(address);
    AsMessage(message)->sender_name.swap(n);
    AsMessage(message)->sender_address.swap(a);
  });
}

VIREL_API void virel_message_set_time(virel_message* message, int64_t seconds) {
  if (message == nullptr) return;
  AsMessage(message)->time = virel::SecondsToTicks(seconds);
}

VIREL_API void virel_message_add_recipient(virel_message* message,
                                           const char* name,
                                           const char* address, int32_t type) {
  if (message == nullptr) return;
  Guarded([&] {
    AsMessage(message)->recipients.push_back(
        {CopyText(name), CopyText(address), KindOf(type)});
  });
}

VIREL_API void virel_message_add_attachment(virel_message* message,
                                            const char* file_name,
                                            const void* data, uint64_t size) {
  if (message == nullptr || data == nullptr || size == 0) return;
  Guarded([&] {
    const auto* bytes = static_cast<const uint8_t*>(data);
    AsMessage(message)->attachments.push_back(
        {CopyText(file_name, kDefaultAttachmentName),
         virel::Bytes(bytes, bytes + static_cast<size_t>(size))});
  });
}

VIREL_API void virel_destroy_message(virel_message* message) {
  delete AsMessage(message);
}

VIREL_API uint64_t virel_writer_add_message(virel_writer* writer,
                                            const char* folder_path,
                                            virel_message* message) {
  if (writer == nullptr || message == nullptr) return 0;
  return Guarded<uint64_t>(0, [&] {
    return Add(writer, folder_path, *AsMessage(message));
  });
}

VIREL_API uint64_t virel_add_message_simple(virel_writer* writer,
                                            const char* folder_path,
                                            const char* subject,
                                            const char* body) {
  if (writer == nullptr) return 0;
  return Guarded<uint64_t>(0, [&] {
    MessageRecord m;
    m.subject = CopyText(subject);
    m.body_plain = CopyText(body);
    m.time = NowTicks();
    return Add(writer, folder_path, m);
  });
}

}  // extern "C"
