// The process exit codes and the status words of the reports.
#pragma once

#include <cstdint>

#include "mailbox.h"

namespace inspect {

constexpr int kExitOk = 0;       // complete, with or without warnings
constexpr int kExitBadFile = 1;  // invalid or incomplete file, or no such node
constexpr int kExitUsage = 2;    // usage error, or an I/O error (read or extract)

int exitCode(vread::FileStatus status);
// The status line's explanation, empty when there is none.
const char* statusNote(vread::FileStatus status);
const char* recipientKind(std::uint32_t type);

}  // namespace inspect
