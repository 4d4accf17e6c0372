// --props: one node's NBT entry, properties, subnodes and tables.
#pragma once

#include <cstdint>
#include <ostream>

#include "mailbox.h"

namespace inspect {

// Returns false when the node does not exist.
bool printNodeProperties(const vread::Mailbox& mailbox, std::uint32_t nid, std::ostream& out);

}  // namespace inspect
