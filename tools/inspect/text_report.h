// The human-readable report: summary, violations, folder tree with items.
#pragma once

#include <ostream>
#include <string>

#include "mailbox.h"

namespace inspect {

void printTextReport(const std::string& path, const vread::Mailbox& mailbox, std::ostream& out);

}  // namespace inspect
