// --props: one node's NBT entry, properties, subnodes and tables, as text
// or as JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>

#include "json_report.h"
#include "mailbox.h"

namespace inspect {

// Returns false when the node does not exist.
bool printNodeProperties(const vread::Mailbox& mailbox, std::uint32_t nid, std::ostream& out);
// Nothing when the node does not exist.
std::optional<Json> nodePropertiesJson(const vread::Mailbox& mailbox, std::uint32_t nid);

}  // namespace inspect
