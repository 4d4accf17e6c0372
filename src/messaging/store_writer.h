// The two fixed nodes at the top of every file: the message store and the
// root folder.
#pragma once

#include "ndb/data_writer.h"
#include "ndb/node_registry.h"

namespace virel {

// Enters the store and root folder nodes with no data yet.
void RegisterFixedNodes(ndb::NodeRegistry* nodes);

// Builds and writes the store's property context and records its BID.
void WriteMessageStore(ndb::DataWriter* writer, ndb::NodeRegistry* nodes);

}  // namespace virel
