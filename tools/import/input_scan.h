// Finding the mail and calendars in the paths given on the command line:
// mbox files, Maildirs (with Maildir++ subfolders), Thunderbird trees
// (an mbox "Name" beside a directory "Name.sbd"), single messages and
// directories of them, and iCalendar files, told apart by their content.
#pragma once

#include <string>
#include <vector>

namespace vimport {

enum class SourceKind { kMbox, kMessage, kCalendar };

// One file to read, and the mail folder its messages go to.
struct Source {
  SourceKind kind;
  std::string path;
  std::string folder;  // empty for calendars
};

struct ScanResult {
  std::vector<Source> sources;    // in the order the items are to be written
  std::vector<std::string> errors;   // paths that could not be read
  std::vector<std::string> skipped;  // files found in trees that hold no mail
};

ScanResult ScanInputs(const std::vector<std::string>& inputs);

enum class ContentKind { kMbox, kMessage, kCalendar, kUnknown };

// What the opening bytes of a file look like.
ContentKind SniffContent(const std::string& head);

}  // namespace vimport
