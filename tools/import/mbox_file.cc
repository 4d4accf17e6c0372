#include "mbox_file.h"

#include <cctype>

namespace vimport {
namespace {

constexpr char kSeparator[] = "From ";
constexpr size_t kSeparatorLength = sizeof(kSeparator) - 1;
constexpr char kEntrySeparator[] = "From virel-import Thu Jan  1 00:00:00 1970\n";

bool StartsWith(const std::string& s, size_t pos, const char* prefix,
                size_t n) {
  return s.compare(pos, n, prefix) == 0;
}

// ">From ", ">>From "...: a quoted "From " line.
bool IsQuotedFrom(const std::string& s, size_t pos, size_t end) {
  size_t i = pos;
  while (i < end && s[i] == '>') ++i;
  return i > pos && end - i >= kSeparatorLength &&
         StartsWith(s, i, kSeparator, kSeparatorLength);
}

// A separator line carries a time of day ("... 12:34:56 2024"); a body
// line that starts with "From " after a blank line is taken as one too.
bool HasTimeOfDay(const std::string& s, size_t pos, size_t end) {
  for (size_t i = pos; i + 4 < end; ++i) {
    if (std::isdigit(static_cast<unsigned char>(s[i])) &&
        std::isdigit(static_cast<unsigned char>(s[i + 1])) && s[i + 2] == ':' &&
        std::isdigit(static_cast<unsigned char>(s[i + 3])) &&
        std::isdigit(static_cast<unsigned char>(s[i + 4]))) {
      return true;
    }
  }
  return false;
}

bool IsBlank(const std::string& s, size_t pos, size_t end) {
  return pos == end || (end - pos == 1 && s[pos] == '\r');
}

// The blank line before the next separator belongs to the mbox file.
void DropSeparatorBlank(std::string* m) {
  const size_t n = m->size();
  if (n >= 4 && m->compare(n - 4, 4, "\r\n\r\n") == 0) {
    m->resize(n - 2);
  } else if (n >= 2 && m->compare(n - 2, 2, "\n\n") == 0) {
    m->resize(n - 1);
  }
}

}  // namespace

bool LooksLikeMbox(const std::string& data) {
  return StartsWith(data, 0, kSeparator, kSeparatorLength);
}

std::vector<std::string> SplitMbox(const std::string& data) {
  std::vector<std::string> messages;
  std::string* current = nullptr;
  bool previous_blank = true;
  size_t pos = 0;
  while (pos < data.size()) {
    size_t end = data.find('\n', pos);
    const size_t next = end == std::string::npos ? data.size() : end + 1;
    if (end == std::string::npos) end = data.size();
    const bool separator =
        StartsWith(data, pos, kSeparator, kSeparatorLength) &&
        (current == nullptr || previous_blank || HasTimeOfDay(data, pos, end));
    if (separator) {
      messages.emplace_back();
      current = &messages.back();
    } else if (current != nullptr) {
      const size_t from = IsQuotedFrom(data, pos, end) ? pos + 1 : pos;
      current->append(data, from, next - from);
    }
    previous_blank = IsBlank(data, pos, end);
    pos = next;
  }
  for (std::string& m : messages) DropSeparatorBlank(&m);
  return messages;
}

std::string ToMboxEntry(const std::string& raw) {
  std::string out = kEntrySeparator;
  size_t pos = 0;
  while (pos < raw.size()) {
    size_t end = raw.find('\n', pos);
    const size_t next = end == std::string::npos ? raw.size() : end + 1;
    if (end == std::string::npos) end = raw.size();
    if (StartsWith(raw, pos, kSeparator, kSeparatorLength) ||
        IsQuotedFrom(raw, pos, end)) {
      out += '>';
    }
    out.append(raw, pos, next - pos);
    pos = next;
  }
  if (out.back() != '\n') out += '\n';
  out += '\n';
  return out;
}

}  // namespace vimport
