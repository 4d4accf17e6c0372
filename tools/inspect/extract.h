// --extract-attachments: writes every attachment's bytes into a directory,
// saying what it wrote.
#pragma once

#include <ostream>
#include <string>

#include "mailbox.h"

namespace inspect {

// Existing files are kept unless `overwrite` is set. Returns false when the
// directory or a file could not be written, or a file was kept; an
// attachment whose data the file does not hold is skipped with a note.
bool extractAttachments(const vread::Mailbox& mailbox, const std::string& dir, bool overwrite, std::ostream& log);

}  // namespace inspect
