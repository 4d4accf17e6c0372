#include "parser_warnings.h"

#include <string>
#include <vector>

#include "text_charset.h"

namespace vimport {
namespace {

constexpr size_t kMaxProblems = 32;
constexpr size_t kMaxItemBytes = 80;

const char* Describe(GMimeParserWarning code) {
  switch (code) {
    case GMIME_WARN_DUPLICATED_HEADER: return "duplicated header";
    case GMIME_WARN_DUPLICATED_PARAMETER: return "duplicated parameter";
    case GMIME_WARN_UNENCODED_8BIT_HEADER: return "unencoded 8-bit header";
    case GMIME_WARN_INVALID_CONTENT_TYPE: return "invalid content type";
    case GMIME_WARN_INVALID_RFC2047_HEADER_VALUE: return "invalid encoded word";
    case GMIME_WARN_MALFORMED_MULTIPART: return "multipart without parts";
    case GMIME_WARN_TRUNCATED_MESSAGE: return "truncated message";
    case GMIME_WARN_MALFORMED_MESSAGE: return "malformed message";
    case GMIME_CRIT_INVALID_HEADER_NAME: return "invalid header name";
    case GMIME_CRIT_CONFLICTING_HEADER: return "conflicting header";
    case GMIME_CRIT_CONFLICTING_PARAMETER: return "conflicting parameter";
    case GMIME_CRIT_MULTIPART_WITHOUT_BOUNDARY: return "multipart without boundary";
    case GMIME_WARN_INVALID_PARAMETER: return "invalid parameter";
    case GMIME_WARN_INVALID_ADDRESS_LIST: return "invalid address list";
    case GMIME_CRIT_NESTING_OVERFLOW: return "parts nested too deeply";
    case GMIME_WARN_PART_WITHOUT_CONTENT: return "part without content";
    case GMIME_CRIT_PART_WITHOUT_HEADERS_OR_CONTENT: return "part without headers or content";
  }
  return "parser warning";
}

// The first bytes of `item`, cut on a character boundary.
std::string Excerpt(const gchar* item) {
  std::string text = ValidUtf8(item);
  if (text.size() <= kMaxItemBytes) return text;
  size_t cut = kMaxItemBytes;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return text.substr(0, cut) + "...";
}

}  // namespace

void RecordParserWarning(gint64 offset, GMimeParserWarning code, const gchar* item,
                         gpointer user_data) {
  auto* problems = static_cast<std::vector<std::string>*>(user_data);
  if (problems->size() >= kMaxProblems) return;
  std::string line = Describe(code);
  if (item != nullptr && *item != '\0') line += " '" + Excerpt(item) + "'";
  if (offset >= 0) line += " at byte " + std::to_string(offset);
  problems->push_back(std::move(line));
}

}  // namespace vimport
