#include "text_charset.h"

#include <glib.h>
#include <gmime/gmime.h>

#include <map>
#include <memory>
#include <utility>

#include "gmime_init.h"
#include "single_byte_table.h"

namespace vimport {
namespace {

constexpr const char* kUtf8 = "UTF-8";
constexpr const char* kWindows1252 = "windows-1252";
constexpr const char* kLatin1 = "ISO-8859-1";

bool SameCharset(const char* a, const char* b) {
  return g_ascii_strcasecmp(a, b) == 0;
}

struct Utf8Converter {
  GIConv iconv;
  std::unique_ptr<SingleByteTable> table;  // for single-byte charsets
};

// Converters to UTF-8 by source charset, opened once per thread: opening
// one costs far more than most texts take to convert.
class Utf8Converters {
 public:
  ~Utf8Converters() {
    for (const auto& entry : open_) {
      if (entry.second.iconv != kNone) g_iconv_close(entry.second.iconv);
    }
  }
  // Null when iconv knows no such charset. Reset, ready for a new text.
  const Utf8Converter* From(const char* charset) {
    auto found = open_.find(charset);
    if (found == open_.end()) {
      Utf8Converter converter{g_iconv_open(kUtf8, charset), nullptr};
      if (converter.iconv != kNone) converter.table = SingleByteTable::Build(converter.iconv);
      found = open_.emplace(charset, std::move(converter)).first;
    }
    if (found->second.iconv == kNone) return nullptr;
    g_iconv(found->second.iconv, nullptr, nullptr, nullptr, nullptr);
    return &found->second;
  }

 private:
  static inline const GIConv kNone = reinterpret_cast<GIConv>(-1);
  std::map<std::string, Utf8Converter, std::less<>> open_;
};

// Whole-input conversion; fails on any byte the charset does not define.
bool Convert(const std::string& in, const char* from, std::string* out) {
  static thread_local Utf8Converters converters;
  const Utf8Converter* found = converters.From(from);
  if (found == nullptr) return false;
  if (found->table) {
    out->clear();
    return found->table->Convert(in, out);
  }
  GIConv converter = found->iconv;
  gsize written = 0;
  GError* error = nullptr;
  gchar* converted = g_convert_with_iconv(in.data(), static_cast<gssize>(in.size()),
                                          converter, nullptr, &written, &error);
  if (converted == nullptr) {
    g_clear_error(&error);
    return false;
  }
  out->assign(converted, written);
  g_free(converted);
  return IsValidUtf8(*out);
}

// The iconv name for a declared charset. Text labelled ISO-8859-1 is read
// as windows-1252, its superset for everything printable, as mail readers do.
std::string IconvName(const std::string& declared) {
  InitGMimeOnce();  // GMime's charset tables
  const char* name = g_mime_charset_iconv_name(declared.c_str());
  if (name == nullptr) return declared;
  if (SameCharset(name, kLatin1) || SameCharset(name, "iso8859-1")) {
    return kWindows1252;
  }
  return name;
}

// A charset name from the input for a message: printable ASCII only.
std::string PrintableName(const std::string& name) {
  constexpr size_t kMaxNameBytes = 40;
  std::string out;
  for (unsigned char c : name.substr(0, kMaxNameBytes)) {
    out.push_back(c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '?');
  }
  return out;
}

}  // namespace

bool IsValidUtf8(const std::string& bytes) {
  const gchar* p = bytes.data();
  const gchar* end = p + bytes.size();
  while (p < end) {
    const gchar* stop = nullptr;
    if (g_utf8_validate(p, end - p, &stop)) return true;
    if (stop == end || *stop != '\0') return false;
    p = stop + 1;  // a NUL byte is valid UTF-8; glib stops at it
  }
  return true;
}

std::string TextToUtf8(std::string bytes, const std::string& declared,
                       std::string* problem) {
  const std::string from = declared.empty() ? kUtf8 : IconvName(declared);
  if (SameCharset(from.c_str(), kUtf8) && IsValidUtf8(bytes)) return bytes;
  std::string out;
  if (!declared.empty() && Convert(bytes, from.c_str(), &out)) return out;
  const std::string label =
      declared.empty() ? "undeclared charset" : "charset '" + PrintableName(declared) + "'";
  for (const char* fallback : {kUtf8, kWindows1252, kLatin1}) {
    if (Convert(bytes, fallback, &out)) {
      *problem = label + " did not decode the text; read as " + fallback;
      return out;
    }
  }
  return out;  // not reached: ISO-8859-1 takes any byte
}

std::string ValidUtf8(const char* text) {
  std::string ignored;
  return text == nullptr ? std::string() : TextToUtf8(text, kUtf8, &ignored);
}

}  // namespace vimport
