// Command-line options of virel-inspect.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace inspect {

struct Options {
  std::string file;
  bool json = false;
  bool force = false;  // --extract-attachments may overwrite files
  bool help = false;
  bool version = false;
  std::optional<std::uint32_t> propsNid;
  std::optional<std::string> extractDir;
};

// Parses argv with getopt_long; on failure returns nothing and sets `error`.
std::optional<Options> parseOptions(int argc, char** argv, std::string& error);

// A node ID as decimal digits or as hexadecimal after "0x"; never octal.
std::optional<std::uint32_t> parseNid(const std::string& text);

const char* usage();

}  // namespace inspect
