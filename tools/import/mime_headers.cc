#include "mime_headers.h"

#include <cstring>

#include "encoded_words.h"
#include "gobject_ptr.h"
#include "mime_addresses.h"
#include "text_charset.h"

namespace vimport {
namespace {

// Takes a string GMime allocated, as valid UTF-8.
std::string TakeText(char* text) {
  std::string out = ValidUtf8(text);
  g_free(text);
  return out;
}

}  // namespace

std::vector<std::string> HeaderReader::Values(const char* name) const {
  std::vector<std::string> values;
  GMimeHeaderList* headers = g_mime_object_get_header_list(object_);
  const int count = headers == nullptr ? 0 : g_mime_header_list_get_count(headers);
  for (int i = 0; i < count; ++i) {
    GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
    const char* raw = g_mime_header_get_raw_value(header);
    if (raw != nullptr && g_ascii_strcasecmp(g_mime_header_get_name(header), name) == 0) {
      values.push_back(RepairEncodedWords(raw, problems_));
    }
  }
  return values;
}

bool HeaderReader::HasEncodedWord(const char* name) const {
  GMimeHeaderList* headers = g_mime_object_get_header_list(object_);
  const int count = headers == nullptr ? 0 : g_mime_header_list_get_count(headers);
  for (int i = 0; i < count; ++i) {
    GMimeHeader* header = g_mime_header_list_get_header_at(headers, i);
    const char* raw = g_mime_header_get_raw_value(header);
    if (raw != nullptr && g_ascii_strcasecmp(g_mime_header_get_name(header), name) == 0 &&
        std::strstr(raw, "=?") != nullptr) {
      return true;
    }
  }
  return false;
}

std::string HeaderReader::Text(const char* name) const {
  const std::vector<std::string> values = Values(name);
  if (values.empty()) return std::string();
  char* unfolded = g_mime_utils_header_unfold(values.front().c_str());
  std::string text = TakeText(g_mime_utils_header_decode_text(options_, unfolded));
  g_free(unfolded);
  return text;
}

std::vector<Address> HeaderReader::Addresses(const char* name) const {
  std::vector<Address> out;
  for (const std::string& value : Values(name)) {
    GObjectPtr<InternetAddressList> list(internet_address_list_parse(options_, value.c_str()));
    for (Address& address : FlattenAddresses(list.get())) out.push_back(std::move(address));
  }
  return out;
}

std::string HeaderReader::DispositionParameter(const char* name) const {
  const std::vector<std::string> values = Values("Content-Disposition");
  if (values.empty()) return std::string();
  GObjectPtr<GMimeContentDisposition> disposition(
      g_mime_content_disposition_parse(options_, values.front().c_str()));
  return disposition == nullptr
             ? std::string()
             : ValidUtf8(g_mime_content_disposition_get_parameter(disposition.get(), name));
}

std::string HeaderReader::TypeParameter(const char* name) const {
  const std::vector<std::string> values = Values("Content-Type");
  if (values.empty()) return std::string();
  GObjectPtr<GMimeContentType> type(g_mime_content_type_parse(options_, values.front().c_str()));
  return type == nullptr ? std::string()
                         : ValidUtf8(g_mime_content_type_get_parameter(type.get(), name));
}

}  // namespace vimport
