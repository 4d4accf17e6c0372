// What a file amounts to, in one word: the verdict tools and tests act on.
#pragma once

namespace vread {

enum class FileStatus {
  Provisional,           // the close never completed: the header is still the one written at opening
  Complete,              // final header, every structure readable, nothing amiss
  CompleteWithWarnings,  // complete, but with unlisted space or another defect no structure depends on
  Invalid,               // a violation, or not a file of this format at all
};

// "provisional", "complete", "complete, with warnings", "invalid".
const char* statusName(FileStatus status);

}  // namespace vread
