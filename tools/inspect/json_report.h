// The report as JSON, with the same content as the text report. Node and
// block IDs are "0x..." strings, as in the text report; offsets and sizes
// are numbers.
#pragma once

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

#include "mailbox.h"

namespace inspect {

using Json = nlohmann::ordered_json;

void printJsonReport(const std::string& path, const vread::Mailbox& mailbox, std::ostream& out);

// Two-space indented, with any invalid UTF-8 replaced by U+FFFD so that
// every parser accepts it, and a final newline.
void printJson(const Json& json, std::ostream& out);

}  // namespace inspect
