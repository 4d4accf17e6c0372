// Gives each named property (property set GUID and dispid) a property ID
// from 0x8000 on, and writes the map's streams for the name-to-ID node.
#pragma once

#include <cstdint>
#include <vector>

#include "ltp/property_bag.h"
#include "messaging/guids.h"
#include "ndb/data_writer.h"
#include "ndb/node_registry.h"

namespace virel {

inline constexpr uint16_t kFirstNamedId = 0x8000;
inline constexpr uint32_t kNameToIdMapNid = 0x61;

class NamedPropertyMap {
 public:
  // The ID given the first time this pair was asked for.
  uint16_t GetOrAssign(const Guid& guid, uint32_t dispid);
  // Adds the GUID and entry streams (each only when not empty).
  void Serialize(ltp::PropertyBag* bag) const;

  size_t entry_count() const { return entries_.size(); }

 private:
  struct Entry {
    uint32_t dispid;
    uint16_t guid_index;
    uint16_t property_index;
    bool named_by_string;
    Guid guid;
  };

  uint16_t GuidIndex(const Guid& guid);

  // The writer names a fixed handful of properties, so a scan that compares
  // the dispid first beats any keyed lookup.
  uint32_t next_index_ = 0;
  std::vector<Guid> guids_;
  std::vector<Entry> entries_;
};

// Writes the map's property context as the name-to-ID node.
void WriteNameToIdMap(const NamedPropertyMap& names, ndb::DataWriter* writer,
                      ndb::NodeRegistry* nodes);

}  // namespace virel
