// Command-line options of virel-inspect.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace inspect {

struct Options {
  std::string file;
  bool json = false;
  std::optional<std::uint32_t> propsNid;
  std::optional<std::string> extractDir;
};

// Parses argv; on failure returns nothing and sets `error`.
std::optional<Options> parseOptions(int argc, char** argv, std::string& error);

const char* usage();

}  // namespace inspect
