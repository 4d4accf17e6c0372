// What a file on disk amounts to, as the reader sees it.
#pragma once

#include <string>

namespace faulttest {

enum class Outcome {
  kNoFile,       // nothing readable at the path
  kProvisional,  // the opening header: the close never completed
  kComplete,     // final header, every structure valid
  kWarnings,     // complete, but with space that no block or page lists
  kShort,        // final header, shorter than the padded minimum: a
                 // failure while padding
  kInvalid,
};

const char* OutcomeName(Outcome outcome);

struct Verdict {
  Outcome outcome = Outcome::kNoFile;
  std::string detail;  // the first problem found
  int items = 0;       // messages and events the folders hold
};

Verdict Classify(const std::string& path);

}  // namespace faulttest
