// Reads every node and subnode once, checking data trees, heaps and contexts.
#pragma once

#include "node_access.h"

namespace vread {

void sweepNodes(const Database& db, const NodeAccess& access, ViolationLog& log);

}  // namespace vread
