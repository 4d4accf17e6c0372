// virel-inspect: shows what a mailbox file holds and whether it is complete
// and consistent. Exit codes: see usage().
#include <exception>
#include <iostream>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#endif

#include "extract.h"
#include "json_report.h"
#include "mailbox.h"
#include "options.h"
#include "props_dump.h"
#include "status.h"
#include "text_report.h"
#include "virel.h"

namespace {

using namespace inspect;

int fail(int code, const std::string& message) {
  std::cerr << "virel-inspect: " << message << "\n";
  return code;
}

// Returns false when the node does not exist.
bool showProperties(const Options& opt, const vread::Mailbox& mailbox) {
  if (!opt.json) return printNodeProperties(mailbox, *opt.propsNid, std::cout);
  auto json = nodePropertiesJson(mailbox, *opt.propsNid);
  if (json) printJson(*json, std::cout);
  return json.has_value();
}

int run(int argc, char** argv) {
  std::string error;
  auto opt = parseOptions(argc, argv, error);
  if (!opt) {
    std::cerr << "virel-inspect: " << error << "\nusage: virel-inspect [OPTIONS] FILE (see virel-inspect --help)\n";
    return kExitUsage;
  }
  if (opt->help) {
    std::cout << usage();
    return kExitOk;
  }
  if (opt->version) {
    std::cout << "virel-inspect " << VIREL_VERSION << "\n";
    return kExitOk;
  }
  vread::Mailbox mailbox = vread::Mailbox::open(opt->file);
  if (!mailbox.loadError().empty()) return fail(kExitUsage, mailbox.loadError());
  if (opt->propsNid) {
    if (!showProperties(*opt, mailbox)) return fail(kExitBadFile, "no node " + vread::hex(*opt->propsNid) + " in the NBT");
  } else if (opt->json) {
    printJsonReport(opt->file, mailbox, std::cout);
  } else {
    printTextReport(opt->file, mailbox, std::cout);
  }
  std::cout.flush();
  if (opt->extractDir && !extractAttachments(mailbox, *opt->extractDir, opt->force, opt->json ? std::cerr : std::cout))
    return kExitUsage;
  if (!std::cout) return fail(kExitUsage, "cannot write the report to standard output");
  return exitCode(mailbox.status());
}

}  // namespace

int main(int argc, char** argv) {
#ifdef _WIN32
  // The same bytes on every platform: no CRLF translation.
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  try {
    return run(argc, argv);
  } catch (const std::exception& e) {
    return fail(kExitUsage, std::string("cannot inspect the file: ") + e.what());
  } catch (...) {
    return fail(kExitUsage, "cannot inspect the file");
  }
}
