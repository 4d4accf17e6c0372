// Fuzzes the importer's readers: the same bytes read as a MIME message, as
// an mbox file (each of its messages decoded) and as an iCalendar file.
// None may crash or leak, and every text the MIME reader returns must be
// valid UTF-8, whatever the input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "ical_reader.h"
#include "mbox_file.h"
#include "mime_reader.h"
#include "text_charset.h"

namespace {

void RequireUtf8(const std::string& text) {
  if (!vimport::IsValidUtf8(text)) abort();
}

void RequireUtf8(const vimport::Address& address) {
  RequireUtf8(address.name);
  RequireUtf8(address.address);
}

void CheckMail(const vimport::MailItem& item) {
  RequireUtf8(item.subject);
  RequireUtf8(item.from);
  for (const auto* list : {&item.to, &item.cc, &item.bcc}) {
    for (const vimport::Address& address : *list) RequireUtf8(address);
  }
  RequireUtf8(item.body_plain);
  RequireUtf8(item.body_html);
  for (const vimport::Attachment& attachment : item.attachments) {
    if (attachment.file_name.empty()) abort();
    RequireUtf8(attachment.file_name);
  }
  for (const std::string& problem : item.problems) RequireUtf8(problem);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string raw(reinterpret_cast<const char*>(data), size);
  CheckMail(vimport::ParseMessage(raw));
  vimport::MboxReader mbox(raw);
  std::string_view message;
  while (mbox.Next(&message)) CheckMail(vimport::ParseMessage(message));
  std::vector<std::string> errors;
  vimport::ParseCalendar(raw, &errors);
  return 0;
}
