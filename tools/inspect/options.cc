#include "options.h"

#include <getopt.h>

#include <charconv>

namespace inspect {

namespace {

constexpr int kDecimal = 10;
constexpr int kHex = 16;

const option kLongOptions[] = {
    {"json", no_argument, nullptr, 'j'},
    {"props", required_argument, nullptr, 'p'},
    {"extract-attachments", required_argument, nullptr, 'x'},
    {"force", no_argument, nullptr, 'f'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {nullptr, 0, nullptr, 0},
};

}  // namespace

std::optional<std::uint32_t> parseNid(const std::string& text) {
  const bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const char* begin = text.data() + (hex ? 2 : 0);
  const char* end = text.data() + text.size();
  std::uint32_t value = 0;
  auto [ptr, ec] = std::from_chars(begin, end, value, hex ? kHex : kDecimal);
  if (begin == end || ec != std::errc() || ptr != end) return std::nullopt;
  return value;
}

const char* usage() {
  return "usage: virel-inspect [OPTIONS] FILE\n"
         "Reads a mailbox file written by the virel library, checks every structure in it\n"
         "and prints what it holds.\n"
         "\n"
         "  -j, --json                      print the report (or the --props dump) as JSON\n"
         "  -p, --props NID                 dump one node's properties, subnodes and tables;\n"
         "                                  NID is decimal, or hexadecimal after 0x\n"
         "  -x, --extract-attachments DIR   write every attachment's bytes into DIR\n"
         "  -f, --force                     let --extract-attachments overwrite existing files\n"
         "  -h, --help                      print this help and exit\n"
         "  -V, --version                   print the version and exit\n"
         "\n"
         "Exit status:\n"
         "  0  the file is complete (\"complete\", or \"complete, with warnings\": unlisted\n"
         "     space that no structure needs)\n"
         "  1  the file is invalid, or incomplete (its close never completed), or the\n"
         "     --props node does not exist\n"
         "  2  usage error, the file could not be read, or attachments could not be written\n";
}

std::optional<Options> parseOptions(int argc, char** argv, std::string& error) {
  Options opt;
  opterr = 0;  // errors are reported by the caller, with the usage
  optind = 1;
  int c = 0;
  while ((c = getopt_long(argc, argv, ":jp:x:fhV", kLongOptions, nullptr)) != -1) {
    switch (c) {
      case 'j': opt.json = true; break;
      case 'f': opt.force = true; break;
      case 'h': opt.help = true; break;
      case 'V': opt.version = true; break;
      case 'x': opt.extractDir = optarg; break;
      case 'p':
        opt.propsNid = parseNid(optarg);
        if (!opt.propsNid) {
          error = "bad NID '" + std::string(optarg) + "' (decimal, or hexadecimal after 0x)";
          return std::nullopt;
        }
        break;
      case ':':
        error = "option '" + std::string(argv[optind - 1]) + "' needs a value";
        return std::nullopt;
      default:
        error = "unknown option '" + std::string(argv[optind - 1]) + "'";
        return std::nullopt;
    }
  }
  if (opt.help || opt.version) return opt;
  if (optind >= argc) {
    error = "no file given";
    return std::nullopt;
  }
  if (argc - optind > 1) {
    error = "more than one file given";
    return std::nullopt;
  }
  opt.file = argv[optind];
  return opt;
}

}  // namespace inspect
