#include "mbox_file.h"

#include <cctype>
#include <utility>

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

MboxReader::MboxReader(const std::string& data) : data_(data) {
  // Whatever precedes the first separator is not a message.
  while (pos_ < data_.size() && !StartsWith(data_, pos_, kSeparator, kSeparatorLength)) {
    const size_t end = data_.find('\n', pos_);
    pos_ = end == std::string::npos ? data_.size() : end + 1;
  }
}

bool MboxReader::Next(std::string* message) {
  if (pos_ >= data_.size()) return false;
  message->clear();
  size_t pos = data_.find('\n', pos_);  // past the separator line
  pos = pos == std::string::npos ? data_.size() : pos + 1;
  size_t run = pos;  // start of the bytes not yet copied
  bool previous_blank = false;
  while (pos < data_.size()) {
    size_t end = data_.find('\n', pos);
    const size_t next = end == std::string::npos ? data_.size() : end + 1;
    if (end == std::string::npos) end = data_.size();
    if (StartsWith(data_, pos, kSeparator, kSeparatorLength) &&
        (previous_blank || HasTimeOfDay(data_, pos, end))) {
      break;
    }
    if (data_[pos] == '>' && IsQuotedFrom(data_, pos, end)) {
      message->append(data_, run, pos - run);
      run = pos + 1;
    }
    previous_blank = IsBlank(data_, pos, end);
    pos = next;
  }
  message->append(data_, run, pos - run);
  pos_ = pos;
  DropSeparatorBlank(message);
  return true;
}

std::vector<std::string> SplitMbox(const std::string& data) {
  std::vector<std::string> messages;
  MboxReader reader(data);
  std::string m;
  while (reader.Next(&m)) messages.push_back(std::move(m));
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
