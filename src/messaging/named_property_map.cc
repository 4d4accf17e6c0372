#include "messaging/named_property_map.h"

#include <algorithm>

#include "ltp/node_data.h"
#include "messaging/property_tags.h"

namespace virel {
namespace {
// Deliberately the reverse of the usual numbering of the two sets.
constexpr uint16_t kGuidIndexPublicStrings = 1;
constexpr uint16_t kGuidIndexMapi = 2;
constexpr uint16_t kFirstListedGuidIndex = 3;
}  // namespace

uint16_t NamedPropertyMap::GetOrAssign(const Guid& guid, uint32_t dispid) {
  for (const Entry& e : entries_) {
    if (e.dispid == dispid && e.guid == guid) {
      return static_cast<uint16_t>(kFirstNamedId + e.property_index);
    }
  }
  const uint16_t index = static_cast<uint16_t>(next_index_++);
  entries_.push_back({dispid, GuidIndex(guid), index, false, guid});
  return static_cast<uint16_t>(kFirstNamedId + index);
}

uint16_t NamedPropertyMap::GuidIndex(const Guid& guid) {
  if (guid == kPsPublicStrings) return kGuidIndexPublicStrings;
  if (guid == kPsMapi) return kGuidIndexMapi;
  auto it = std::find(guids_.begin(), guids_.end(), guid);
  if (it == guids_.end()) it = guids_.insert(guids_.end(), guid);
  return static_cast<uint16_t>(kFirstListedGuidIndex + (it - guids_.begin()));
}

void NamedPropertyMap::Serialize(ltp::PropertyBag* bag) const {
  if (!guids_.empty()) {
    Bytes stream;
    for (const Guid& g : guids_) PutBytes(&stream, g.data(), g.size());
    bag->SetBytes(tag::kNameidStreamGuid, stream);
  }
  if (!entries_.empty()) {
    Bytes stream;
    for (const Entry& e : entries_) {
      PutFixed32(&stream, e.dispid);
      PutFixed16(&stream, static_cast<uint16_t>((e.named_by_string ? 1 : 0) |
                                                (e.guid_index << 1)));
      PutFixed16(&stream, e.property_index);
    }
    bag->SetBytes(tag::kNameidStreamEntry, stream);
  }
}

void WriteNameToIdMap(const NamedPropertyMap& names, ndb::DataWriter* writer,
                      ndb::NodeRegistry* nodes) {
  ltp::PropertyBag bag;
  names.Serialize(&bag);
  nodes->PutNode({kNameToIdMapNid, ltp::WritePropertyContext(bag, writer).bid,
                  0, 0});
}

}  // namespace virel
