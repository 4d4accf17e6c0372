// The report as JSON, with the same content as the text report.
#pragma once

#include <ostream>
#include <string>

#include "mailbox.h"

namespace inspect {

void printJsonReport(const std::string& path, const vread::Mailbox& mailbox, std::ostream& out);

}  // namespace inspect
