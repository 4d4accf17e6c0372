#include "folder_names.h"

#include <algorithm>
#include <cctype>

namespace vimport {
namespace {

struct Alias {
  const char* name;  // lower case
  const char* folder;
};

constexpr Alias kAliases[] = {
    {"inbox", "Inbox"},
    {"outbox", "Outbox"},
    {"unsent messages", "Outbox"},
    {"sent", "Sent Items"},
    {"sent items", "Sent Items"},
    {"sent mail", "Sent Items"},
    {"sent messages", "Sent Items"},
    {"trash", "Deleted Items"},
    {"deleted", "Deleted Items"},
    {"deleted items", "Deleted Items"},
    {"deleted messages", "Deleted Items"},
    {"bin", "Deleted Items"},
    {"drafts", "Drafts"},
    {"draft", "Drafts"},
};

constexpr const char* kMboxExtensions[] = {".mbox", ".mbx"};

std::string Lower(std::string s) {
  std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) {
    return static_cast<char>(std::tolower(c));
  });
  return s;
}

bool EndsWith(const std::string& s, const std::string& suffix) {
  return s.size() > suffix.size() &&
         s.compare(s.size() - suffix.size(), suffix.size(), suffix) == 0;
}

}  // namespace

std::string MailFolderName(const std::string& name) {
  std::string base = name;
  for (const char* ext : kMboxExtensions) {
    if (EndsWith(Lower(base), ext)) base.resize(base.size() - std::string(ext).size());
  }
  const std::string key = Lower(base);
  for (const Alias& a : kAliases) {
    if (key == a.name) return a.folder;
  }
  // A folder name cannot hold the path separator.
  std::replace(base.begin(), base.end(), '/', '_');
  return base;
}

std::string JoinFolder(const std::string& parent, const std::string& child) {
  if (parent.empty()) return child;
  if (child.empty()) return parent;
  return parent + "/" + child;
}

}  // namespace vimport
