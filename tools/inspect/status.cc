#include "status.h"

namespace inspect {

Verdict verdictOf(const vread::Mailbox& mailbox) {
  if (mailbox.header().state == vread::HeaderState::Provisional) return Verdict::Incomplete;
  return mailbox.complete() ? Verdict::Complete : Verdict::Invalid;
}

const char* verdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::Complete: return "complete";
    case Verdict::Incomplete: return "incomplete";
    case Verdict::Invalid: return "invalid";
  }
  return "invalid";
}

int exitCode(Verdict verdict) { return verdict == Verdict::Complete ? kExitOk : kExitBadFile; }

const char* recipientKind(std::uint32_t type) {
  switch (type) {
    case 1: return "to";
    case 2: return "cc";
    case 3: return "bcc";
    default: return "unknown";
  }
}

}  // namespace inspect
