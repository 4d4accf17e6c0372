// virel-import: turns mbox files, Maildirs, message files and calendars
// into complete mailbox files.
#include <unistd.h>

#include <iostream>

#include "importer.h"
#include "options.h"
#include "virel.h"

int main(int argc, char** argv) {
  using namespace vimport;
  std::string error;
  const std::optional<CommandLine> cl = ParseCommandLine(argc, argv, &error);
  if (!cl) {
    std::cerr << "virel-import: " << error << "\n" << Usage();
    return kExitFailure;
  }
  if (cl->help) {
    std::cout << Usage();
    return kExitAllWritten;
  }
  if (cl->version) {
    std::cout << "virel-import " << VIREL_VERSION << "\n";
    return kExitAllWritten;
  }
  Progress progress(isatty(STDERR_FILENO) != 0);
  const ImportReport report = RunImport(cl->import, &progress);
  PrintSummary(report, std::cerr);
  if (cl->json) PrintJson(report, std::cout);
  return ExitCode(report);
}
