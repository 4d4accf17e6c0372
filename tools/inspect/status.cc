#include "status.h"

namespace inspect {

int exitCode(vread::FileStatus status) {
  bool complete = status == vread::FileStatus::Complete || status == vread::FileStatus::CompleteWithWarnings;
  return complete ? kExitOk : kExitBadFile;
}

const char* statusNote(vread::FileStatus status) {
  switch (status) {
    case vread::FileStatus::Provisional: return "incomplete: the writer never completed its close";
    case vread::FileStatus::CompleteWithWarnings: return "every structure is readable; see the warnings";
    default: return "";
  }
}

const char* recipientKind(std::uint32_t type) {
  switch (type) {
    case 1: return "to";
    case 2: return "cc";
    case 3: return "bcc";
    default: return "unknown";
  }
}

}  // namespace inspect
