#include "name_map.h"

#include <cstdio>
#include <set>

namespace vread {

namespace {

constexpr std::uint32_t kTagGuidStream = 0x00020102;
constexpr std::uint32_t kTagEntryStream = 0x00030102;
constexpr std::uint32_t kTagStringStream = 0x00040102;
constexpr std::size_t kGuidSize = 16;
constexpr std::size_t kEntrySize = 8;
constexpr std::uint16_t kWGuidPublicStrings = 1;
constexpr std::uint16_t kWGuidMapi = 2;
constexpr std::uint16_t kFirstStreamGuid = 3;
constexpr std::uint16_t kNamedBase = 0x8000;

// Well-known sets, numbered 1 and 2 by this format.
const Guid kPsPublicStrings = parseGuid("{00020329-0000-0000-C000-000000000046}");
const Guid kPsMapi = parseGuid("{00020328-0000-0000-C000-000000000046}");

unsigned hexValue(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return 0;
}

}  // namespace

const Guid kPsetidAppointment = parseGuid("{00062002-0000-0000-C000-000000000046}");

Guid parseGuid(const std::string& text) {
  std::vector<std::uint8_t> b;  // bytes in text order
  unsigned nibbles = 0, value = 0;
  for (char c : text) {
    if (c == '{' || c == '}' || c == '-') continue;
    value = (value << 4) | hexValue(c);
    if (++nibbles % 2 == 0) b.push_back(static_cast<std::uint8_t>(value & 0xFF));
  }
  b.resize(kGuidSize, 0);
  // Data1, Data2 and Data3 are stored little-endian, Data4 as written.
  return {b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6], b[8], b[9], b[10], b[11], b[12], b[13], b[14], b[15]};
}

std::string formatGuid(const Guid& g) {
  char buf[40];
  std::snprintf(buf, sizeof buf, "{%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X}", g[3], g[2],
                g[1], g[0], g[5], g[4], g[7], g[6], g[8], g[9], g[10], g[11], g[12], g[13], g[14], g[15]);
  return buf;
}

NameMap NameMap::read(const PropertyContext& pc, std::uint64_t at, ViolationLog& log) {
  ViolationLog::Scope scope(log, "name-to-ID map");
  NameMap map;
  if (const PropValue* g = pc.find(kTagGuidStream)) {
    if (g->bytes.size() % kGuidSize != 0) log.add(g->offset, "GUID stream is not a whole number of GUIDs");
    for (std::size_t i = 0; i + kGuidSize <= g->bytes.size(); i += kGuidSize) {
      Guid guid{};
      std::copy(g->bytes.begin() + static_cast<std::ptrdiff_t>(i),
                g->bytes.begin() + static_cast<std::ptrdiff_t>(i + kGuidSize), guid.begin());
      map.guids_.push_back(guid);
    }
  }
  const PropValue* e = pc.find(kTagEntryStream);
  if (e == nullptr) return map;
  if (e->bytes.size() % kEntrySize != 0) log.add(e->offset, "entry stream is not a whole number of entries");
  std::set<std::uint16_t> indexes;
  for (std::size_t i = 0; i + kEntrySize <= e->bytes.size(); i += kEntrySize) {
    const std::uint8_t* p = e->bytes.data() + i;
    NameEntry entry{le32(p), static_cast<std::uint16_t>(le16(p + 4) >> 1), le16(p + 6), (le16(p + 4) & 1u) != 0};
    if (!map.setOf(entry)) log.add(at, "entry " + std::to_string(i / kEntrySize) + " names GUID " +
                                           std::to_string(entry.wGuid) + ", which the GUID stream lacks");
    if (entry.named && pc.find(kTagStringStream) == nullptr)
      log.add(at, "entry " + std::to_string(i / kEntrySize) + " is named by string, but there is no string stream");
    if (!indexes.insert(entry.index).second)
      log.add(at, "property index " + std::to_string(entry.index) + " is given twice");
    map.entries_.push_back(entry);
  }
  return map;
}

std::optional<Guid> NameMap::setOf(const NameEntry& entry) const {
  if (entry.wGuid == kWGuidPublicStrings) return kPsPublicStrings;
  if (entry.wGuid == kWGuidMapi) return kPsMapi;
  if (entry.wGuid >= kFirstStreamGuid && entry.wGuid - kFirstStreamGuid < static_cast<int>(guids_.size()))
    return guids_[entry.wGuid - kFirstStreamGuid];
  return std::nullopt;
}

std::optional<std::uint16_t> NameMap::propertyId(const Guid& set, std::uint32_t dispid) const {
  for (const auto& e : entries_)
    if (!e.named && e.dispid == dispid && setOf(e) == set) return static_cast<std::uint16_t>(kNamedBase + e.index);
  return std::nullopt;
}

}  // namespace vread
