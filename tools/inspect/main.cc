// virel-inspect: shows what a mailbox file holds and whether it is complete
// and consistent.
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

int main(int argc, char** argv) {
  using namespace inspect;
#ifdef _WIN32
  // The same bytes on every platform: no CRLF translation.
  _setmode(_fileno(stdout), _O_BINARY);
#endif
  std::string error;
  auto opt = parseOptions(argc, argv, error);
  if (!opt) {
    std::cerr << "virel-inspect: " << error << "\n" << usage();
    return kExitUsage;
  }
  vread::Mailbox mailbox = vread::Mailbox::open(opt->file);
  if (!mailbox.loadError().empty()) {
    std::cerr << "virel-inspect: " << mailbox.loadError() << "\n";
    return kExitUsage;
  }
  if (opt->propsNid) {
    if (!printNodeProperties(mailbox, *opt->propsNid, std::cout)) {
      std::cerr << "virel-inspect: no node " << vread::hex(*opt->propsNid) << " in the NBT\n";
      return kExitBadFile;
    }
  } else if (opt->json) {
    printJsonReport(opt->file, mailbox, std::cout);
  } else {
    printTextReport(opt->file, mailbox, std::cout);
  }
  if (opt->extractDir && !extractAttachments(mailbox, *opt->extractDir, opt->json ? std::cerr : std::cout))
    return kExitBadFile;
  return exitCode(verdictOf(mailbox));
}
