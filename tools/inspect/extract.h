// --extract-attachments: writes every attachment's bytes into a directory.
#pragma once

#include <ostream>
#include <string>

#include "mailbox.h"

namespace inspect {

// Returns false when the directory or a file could not be written.
bool extractAttachments(const vread::Mailbox& mailbox, const std::string& dir, std::ostream& log);

}  // namespace inspect
