#include "attachment_name.h"

#include <glib.h>

namespace vimport {
namespace {

struct TypeExtension {
  const char* type;
  const char* subtype;  // nullptr: any subtype
  const char* extension;
};

constexpr TypeExtension kExtensions[] = {
    {"message", "rfc822", ".eml"},      {"message", "global", ".eml"},
    {"text", "plain", ".txt"},          {"text", "html", ".html"},
    {"text", "calendar", ".ics"},       {"text", "csv", ".csv"},
    {"text", "xml", ".xml"},            {"text", "vcard", ".vcf"},
    {"text", "x-vcard", ".vcf"},        {"text", nullptr, ".txt"},
    {"image", "jpeg", ".jpg"},          {"image", "png", ".png"},
    {"image", "gif", ".gif"},           {"image", "bmp", ".bmp"},
    {"image", "tiff", ".tif"},          {"image", "webp", ".webp"},
    {"image", "svg+xml", ".svg"},       {"audio", "mpeg", ".mp3"},
    {"audio", "wav", ".wav"},           {"audio", "x-wav", ".wav"},
    {"video", "mp4", ".mp4"},           {"application", "pdf", ".pdf"},
    {"application", "zip", ".zip"},     {"application", "gzip", ".gz"},
    {"application", "json", ".json"},   {"application", "xml", ".xml"},
    {"application", "msword", ".doc"},  {"application", "pgp-signature", ".asc"},
    {"application", "pkcs7-signature", ".p7s"},
    {"application", "x-pkcs7-signature", ".p7s"},
    {"application", "ics", ".ics"},
};

bool Equal(const std::string& a, const char* b) {
  return g_ascii_strcasecmp(a.c_str(), b) == 0;
}

}  // namespace

std::string ExtensionForType(const std::string& type, const std::string& subtype) {
  for (const TypeExtension& entry : kExtensions) {
    if (Equal(type, entry.type) &&
        (entry.subtype == nullptr || Equal(subtype, entry.subtype))) {
      return entry.extension;
    }
  }
  return ".bin";
}

std::string CleanFileName(const std::string& given) {
  const size_t slash = given.find_last_of("/\\");
  const std::string base = slash == std::string::npos ? given : given.substr(slash + 1);
  std::string out;
  for (unsigned char c : base) {
    if (c >= 0x20 && c != 0x7f) out.push_back(static_cast<char>(c));
  }
  const size_t first = out.find_first_not_of(' ');
  if (first == std::string::npos) return std::string();
  out.erase(0, first);
  out.erase(out.find_last_not_of(' ') + 1);
  return out == "." || out == ".." ? std::string() : out;
}

std::string GeneratedFileName(size_t number, const std::string& type,
                              const std::string& subtype) {
  return "attachment-" + std::to_string(number) + ExtensionForType(type, subtype);
}

}  // namespace vimport
