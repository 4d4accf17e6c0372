#include "options.h"

#include <cstdlib>

namespace inspect {

namespace {

bool parseNid(const std::string& text, std::uint32_t& out) {
  if (text.empty()) return false;
  char* end = nullptr;
  unsigned long long v = std::strtoull(text.c_str(), &end, 0);
  if (*end != '\0' || v > 0xFFFFFFFFull) return false;
  out = static_cast<std::uint32_t>(v);
  return true;
}

}  // namespace

const char* usage() {
  return "usage: virel-inspect [--json] [--props NID] [--extract-attachments DIR] FILE\n"
         "  --json                      print the report as JSON\n"
         "  --props NID                 dump one node's properties, subnodes and tables\n"
         "  --extract-attachments DIR   write every attachment's bytes into DIR\n"
         "exit status: 0 complete and consistent, 1 incomplete or invalid, 2 usage or read error\n";
}

std::optional<Options> parseOptions(int argc, char** argv, std::string& error) {
  Options opt;
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    bool hasValue = i + 1 < argc;
    if (arg == "--json") {
      opt.json = true;
    } else if (arg == "--props" && hasValue) {
      std::uint32_t nid = 0;
      if (!parseNid(argv[++i], nid)) {
        error = "bad NID '" + std::string(argv[i]) + "'";
        return std::nullopt;
      }
      opt.propsNid = nid;
    } else if (arg == "--extract-attachments" && hasValue) {
      opt.extractDir = argv[++i];
    } else if (!arg.empty() && arg[0] == '-') {
      error = "unknown or incomplete option '" + arg + "'";
      return std::nullopt;
    } else if (opt.file.empty()) {
      opt.file = arg;
    } else {
      error = "more than one file given";
      return std::nullopt;
    }
  }
  if (opt.file.empty()) {
    error = "no file given";
    return std::nullopt;
  }
  return opt;
}

}  // namespace inspect
