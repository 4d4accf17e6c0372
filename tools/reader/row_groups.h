// The writer's bookkeeping row groups: blocks listed in the BBT only, each
// the magic "LTPC", a group key, then per item its NID and (tag, value)
// cells. They hold what no node does: a message's time and its sender's
// e-mail address.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "bytes.h"

namespace vread {

using RowCells = std::map<std::uint32_t, Bytes>;  // property tag -> value

// The rows of one row-group payload by item NID; nothing when the payload
// is not a row group or runs short.
std::optional<std::map<std::uint32_t, RowCells>> parseRowGroup(const Bytes& payload);

}  // namespace vread
