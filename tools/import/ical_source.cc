#include "ical_source.h"

#include "ical_props.h"

namespace vimport {
namespace ical {
namespace {

// The line's content without its line break and surrounding blanks.
std::string Trimmed(const std::string& raw, size_t begin, size_t end) {
  while (begin < end && (raw[begin] == ' ' || raw[begin] == '\t')) ++begin;
  while (end > begin && (raw[end - 1] == '\r' || raw[end - 1] == '\n' ||
                         raw[end - 1] == ' ' || raw[end - 1] == '\t')) {
    --end;
  }
  return raw.substr(begin, end - begin);
}

bool StartsWithNoCase(const std::string& text, const std::string& prefix) {
  return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

// Whether the line's name is `name` (parameters may follow it).
bool HasName(const std::string& line, const std::string& name) {
  return StartsWithNoCase(line, name) && line.size() > name.size() &&
         (line[name.size()] == ':' || line[name.size()] == ';');
}

// +1 for a BEGIN line, -1 for an END line.
int DepthChange(const std::string& line) {
  if (HasName(line, "BEGIN")) return 1;
  if (HasName(line, "END")) return -1;
  return 0;
}

}  // namespace

int MaxNesting(const std::string& raw) {
  int depth = 0;
  int deepest = 0;
  std::string logical;  // the current line with its continuations
  auto finish_line = [&] {
    depth += DepthChange(logical);
    if (depth < 0) depth = 0;
    if (depth > deepest) deepest = depth;
    logical.clear();
  };
  size_t line_begin = 0;
  while (line_begin < raw.size()) {
    size_t line_end = raw.find('\n', line_begin);
    if (line_end == std::string::npos) line_end = raw.size();
    std::string line = raw.substr(line_begin, line_end - line_begin);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty() && (line[0] == ' ' || line[0] == '\t')) {
      logical += line.substr(1);
    } else {
      finish_line();
      logical = line;
    }
    line_begin = line_end + 1;
  }
  finish_line();
  return deepest;
}

std::vector<std::string> SplitEventTexts(const std::string& raw) {
  std::vector<std::string> blocks;
  constexpr size_t kNone = std::string::npos;
  size_t open = kNone;
  size_t line_begin = 0;
  while (line_begin < raw.size()) {
    size_t line_end = raw.find('\n', line_begin);
    line_end = line_end == kNone ? raw.size() : line_end + 1;
    const std::string line = Trimmed(raw, line_begin, line_end);
    if (open == kNone && EqualsNoCase(line, "BEGIN:VEVENT")) {
      open = line_begin;
    } else if (open != kNone && EqualsNoCase(line, "END:VEVENT")) {
      blocks.push_back(raw.substr(open, line_end - open));
      open = kNone;
    }
    line_begin = line_end;
  }
  if (open != kNone) blocks.push_back(raw.substr(open));
  return blocks;
}

}  // namespace ical
}  // namespace vimport
