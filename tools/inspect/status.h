// The verdict on a file and the process exit code that goes with it.
#pragma once

#include "mailbox.h"

namespace inspect {

enum class Verdict { Complete, Incomplete, Invalid };

Verdict verdictOf(const vread::Mailbox& mailbox);
const char* verdictName(Verdict verdict);
int exitCode(Verdict verdict);
const char* recipientKind(std::uint32_t type);

constexpr int kExitOk = 0;
constexpr int kExitBadFile = 1;
constexpr int kExitUsage = 2;

}  // namespace inspect
