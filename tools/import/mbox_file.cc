#include "mbox_file.h"

#include <cctype>
#include <utility>

namespace vimport {
namespace {

constexpr std::string_view kSeparator = "From ";
constexpr char kEntrySeparator[] = "From virel-import Thu Jan  1 00:00:00 1970\n";

bool StartsWith(std::string_view s, size_t pos, std::string_view prefix) {
  return s.substr(pos, prefix.size()) == prefix;
}

// ">From ", ">>From "...: a quoted "From " line.
bool IsQuotedFrom(std::string_view s, size_t pos, size_t end) {
  size_t i = pos;
  while (i < end && s[i] == '>') ++i;
  return i > pos && end - i >= kSeparator.size() && StartsWith(s, i, kSeparator);
}

// A separator line carries a time of day ("... 12:34:56 2024"); a body
// line that starts with "From " after a blank line is taken as one too.
bool HasTimeOfDay(std::string_view s, size_t pos, size_t end) {
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

bool IsBlank(std::string_view s, size_t pos, size_t end) {
  return pos == end || (end - pos == 1 && s[pos] == '\r');
}

// The blank line before the next separator belongs to the mbox file.
std::string_view DropSeparatorBlank(std::string_view m) {
  if (m.size() >= 4 && m.substr(m.size() - 4) == "\r\n\r\n") {
    m.remove_suffix(2);
  } else if (m.size() >= 2 && m.substr(m.size() - 2) == "\n\n") {
    m.remove_suffix(1);
  }
  return m;
}

// Where the line at `pos` ends (its '\n' or the end of `s`), and where
// the next one starts.
std::pair<size_t, size_t> LineEnd(std::string_view s, size_t pos) {
  const size_t end = s.find('\n', pos);
  if (end == std::string_view::npos) return {s.size(), s.size()};
  return {end, end + 1};
}

}  // namespace

bool LooksLikeMbox(std::string_view data) { return StartsWith(data, 0, kSeparator); }

MboxReader::MboxReader(std::string_view data) : data_(data) {
  // Whatever precedes the first separator is not a message.
  while (pos_ < data_.size() && !StartsWith(data_, pos_, kSeparator)) {
    pos_ = LineEnd(data_, pos_).second;
  }
}

bool MboxReader::Next(std::string_view* message) {
  if (pos_ >= data_.size()) return false;
  const size_t start = LineEnd(data_, pos_).second;  // past the separator line
  size_t pos = start;
  size_t run = start;  // start of the bytes not yet copied to unquoted_
  bool quoted = false;
  bool previous_blank = false;
  while (pos < data_.size()) {
    const auto [end, next] = LineEnd(data_, pos);
    if (StartsWith(data_, pos, kSeparator) &&
        (previous_blank || HasTimeOfDay(data_, pos, end))) {
      break;
    }
    if (data_[pos] == '>' && IsQuotedFrom(data_, pos, end)) {
      if (!quoted) unquoted_.clear();
      quoted = true;
      unquoted_.append(data_, run, pos - run);
      run = pos + 1;
    }
    previous_blank = IsBlank(data_, pos, end);
    pos = next;
  }
  pos_ = pos;
  if (!quoted) {
    *message = DropSeparatorBlank(data_.substr(start, pos - start));
    return true;
  }
  unquoted_.append(data_, run, pos - run);
  *message = DropSeparatorBlank(unquoted_);
  return true;
}

std::vector<std::string> SplitMbox(std::string_view data) {
  std::vector<std::string> messages;
  MboxReader reader(data);
  std::string_view m;
  while (reader.Next(&m)) messages.emplace_back(m);
  return messages;
}

std::string ToMboxEntry(std::string_view raw) {
  std::string out = kEntrySeparator;
  out.reserve(out.size() + raw.size() + 2);
  size_t pos = 0;
  while (pos < raw.size()) {
    const auto [end, next] = LineEnd(raw, pos);
    if (StartsWith(raw, pos, kSeparator) || IsQuotedFrom(raw, pos, end)) out += '>';
    out.append(raw, pos, next - pos);
    pos = next;
  }
  if (out.back() != '\n') out += '\n';
  out += '\n';
  return out;
}

}  // namespace vimport
