// The name-to-ID map (node 0x61): named properties and their property IDs.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "property_context.h"

namespace vread {

using Guid = std::array<std::uint8_t, 16>;

// Parses "{xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}" into the on-disk byte order.
Guid parseGuid(const std::string& text);
std::string formatGuid(const Guid& guid);

struct NameEntry {
  std::uint32_t dispid = 0;
  std::uint16_t wGuid = 0;
  std::uint16_t index = 0;  // property ID is 0x8000 + index
  bool named = false;       // named by string rather than number
};

class NameMap {
 public:
  // Reads the map from the PC of node 0x61; `at` locates it for reports.
  static NameMap read(const PropertyContext& pc, std::uint64_t at, ViolationLog& log);

  // Property ID of the numeric named property (set, dispid), if mapped.
  std::optional<std::uint16_t> propertyId(const Guid& set, std::uint32_t dispid) const;
  const std::vector<Guid>& guids() const { return guids_; }
  const std::vector<NameEntry>& entries() const { return entries_; }
  // The property set of an entry, nothing when wGuid names no set.
  std::optional<Guid> setOf(const NameEntry& entry) const;

 private:
  std::vector<Guid> guids_;
  std::vector<NameEntry> entries_;
};

// Property sets and dispids of the appointment properties shown by the tools.
extern const Guid kPsetidAppointment;
constexpr std::uint32_t kDispidStart = 0x820D;
constexpr std::uint32_t kDispidEnd = 0x820E;
constexpr std::uint32_t kDispidLocation = 0x8208;
constexpr std::uint32_t kDispidBusyStatus = 0x8205;

}  // namespace vread
