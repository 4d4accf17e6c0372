// Renders property values and names for listings.
#pragma once

#include <cstdint>
#include <string>

#include "bytes.h"
#include "name_map.h"

namespace inspect {

// Text from the file with control characters shown as '?', so that it
// cannot break the report's lines or steer a terminal.
std::string printable(const std::string& text);

std::string formatValue(std::uint32_t tag, const vread::Bytes& bytes);
// "0x0037001F PT_UNICODE", with the named property's set and dispid for IDs
// from 0x8000.
std::string formatTag(std::uint32_t tag, const vread::NameMap& names);

}  // namespace inspect
