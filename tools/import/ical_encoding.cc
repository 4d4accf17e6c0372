#include "ical_encoding.h"

#include <iconv.h>

#include <cerrno>

namespace vimport {
namespace ical {
namespace {

constexpr char kUtf8Bom[] = "\xEF\xBB\xBF";
constexpr char kUtf16LeBom[] = "\xFF\xFE";
constexpr char kUtf16BeBom[] = "\xFE\xFF";

bool StartsWith(const std::string& text, const char* prefix) {
  return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// The whole of `in` converted, or false when iconv refuses any of it.
bool Convert(const char* from, const std::string& in, std::string* out) {
  iconv_t cd = iconv_open("UTF-8", from);
  if (cd == reinterpret_cast<iconv_t>(-1)) return false;
  out->clear();
  std::string input = in;  // iconv wants a mutable pointer
  char* in_ptr = &input[0];
  size_t in_left = input.size();
  char buffer[4096];
  bool ok = true;
  while (in_left > 0) {
    char* out_ptr = buffer;
    size_t out_left = sizeof(buffer);
    const size_t result = iconv(cd, &in_ptr, &in_left, &out_ptr, &out_left);
    out->append(buffer, sizeof(buffer) - out_left);
    if (result == static_cast<size_t>(-1) && errno != E2BIG) {
      ok = false;
      break;
    }
  }
  iconv_close(cd);
  return ok;
}

}  // namespace

std::string ToUtf8(const std::string& raw, std::vector<std::string>* errors) {
  std::string out;
  if (StartsWith(raw, kUtf8Bom)) return raw.substr(3);
  if (StartsWith(raw, kUtf16LeBom) || StartsWith(raw, kUtf16BeBom)) {
    const char* from = StartsWith(raw, kUtf16LeBom) ? "UTF-16LE" : "UTF-16BE";
    if (Convert(from, raw.substr(2), &out)) return out;
    errors->push_back(std::string("input starts as ") + from + " but is not; read as bytes");
    return raw;
  }
  if (Convert("UTF-8", raw, &out)) return raw;
  if (Convert("WINDOWS-1252", raw, &out)) {
    errors->push_back("input is not UTF-8; read as Windows-1252");
    return out;
  }
  Convert("ISO-8859-1", raw, &out);
  errors->push_back("input is not UTF-8; read as ISO-8859-1");
  return out;
}

}  // namespace ical
}  // namespace vimport
