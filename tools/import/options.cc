#include "options.h"

#include <getopt.h>

namespace vimport {
namespace {

enum LongOnly { kFolder = 256, kCalendar, kJson, kVersion };

constexpr option kOptions[] = {
    {"output", required_argument, nullptr, 'o'},
    {"folder", required_argument, nullptr, kFolder},
    {"calendar", required_argument, nullptr, kCalendar},
    {"json", no_argument, nullptr, kJson},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, kVersion},
    {nullptr, 0, nullptr, 0},
};

}  // namespace

const char* Usage() {
  return "usage: virel-import -o OUT.pst [options] INPUT...\n"
         "Imports mail and calendars into mailbox files OUT.pst, OUT-2.pst, ...\n"
         "INPUT: an mbox file, a Maildir (Maildir++ subfolders too), a Thunderbird\n"
         "  mail directory (Name beside Name.sbd/), a message file, a directory of\n"
         "  message files (subdirectories become subfolders) or an .ics calendar.\n"
         "  -o, --output FILE   first output file (required)\n"
         "  --folder PATH       file every message under PATH (\"A/B\")\n"
         "  --calendar PATH     folder for events (default \"Calendar\")\n"
         "  --json              print what became of every item as JSON on stdout\n"
         "  -h, --help          show this help\n"
         "  --version           show the version\n"
         "Items that no file can hold are kept in OUT.rejected.mbox / OUT.rejected.ics.\n"
         "exit status: 0 everything written, 1 some item rejected, 2 usage or I/O error\n";
}

std::optional<CommandLine> ParseCommandLine(int argc, char** argv,
                                            std::string* error) {
  CommandLine cl;
  opterr = 0;
  optind = 1;
  int c;
  while ((c = getopt_long(argc, argv, ":o:h", kOptions, nullptr)) != -1) {
    switch (c) {
      case 'o':
        cl.import.output = optarg;
        break;
      case kFolder:
        cl.import.folder = optarg;
        break;
      case kCalendar:
        cl.import.calendar = optarg;
        break;
      case kJson:
        cl.json = true;
        break;
      case 'h':
        cl.help = true;
        break;
      case kVersion:
        cl.version = true;
        break;
      case ':':
        *error = std::string("option '") + argv[optind - 1] + "' needs a value";
        return std::nullopt;
      default:
        *error = std::string("unknown option '") + argv[optind - 1] + "'";
        return std::nullopt;
    }
  }
  if (cl.help || cl.version) return cl;
  for (int i = optind; i < argc; ++i) cl.import.inputs.push_back(argv[i]);
  if (cl.import.output.empty()) {
    *error = "no output file given (-o OUT.pst)";
    return std::nullopt;
  }
  if (cl.import.inputs.empty()) {
    *error = "no input given";
    return std::nullopt;
  }
  if (cl.import.folder && cl.import.folder->find_first_not_of('/') == std::string::npos) {
    *error = "--folder names no folder";
    return std::nullopt;
  }
  if (cl.import.calendar.find_first_not_of('/') == std::string::npos) {
    *error = "--calendar names no folder";
    return std::nullopt;
  }
  return cl;
}

}  // namespace vimport
