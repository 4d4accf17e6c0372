// One import run: finds the inputs, decodes every item, writes it into
// the series of output files (or keeps it among the rejected items) and
// records what became of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "import_report.h"
#include "progress.h"

namespace vimport {

inline constexpr char kDefaultCalendar[] = "Calendar";

struct ImportOptions {
  std::string output;
  std::vector<std::string> inputs;
  std::optional<std::string> folder;  // every message goes here
  std::string calendar = kDefaultCalendar;
};

// Exit codes of the tool.
inline constexpr int kExitAllWritten = 0;
inline constexpr int kExitSomeRejected = 1;
inline constexpr int kExitFailure = 2;

ImportReport RunImport(const ImportOptions& options, Progress* progress);
int ExitCode(const ImportReport& report);

}  // namespace vimport
