// Command line of virel-import.
#pragma once

#include <optional>
#include <string>

#include "importer.h"

namespace vimport {

struct CommandLine {
  ImportOptions import;
  bool json = false;
  bool help = false;
  bool version = false;
};

// Parses argv; on failure returns nothing and sets `error`.
std::optional<CommandLine> ParseCommandLine(int argc, char** argv,
                                            std::string* error);

const char* Usage();

}  // namespace vimport
