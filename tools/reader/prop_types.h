// Property tags and types, and how their values are held.
#pragma once

#include <cstdint>

namespace vread {

namespace ptype {
constexpr std::uint16_t kI2 = 0x0002;
constexpr std::uint16_t kLong = 0x0003;
constexpr std::uint16_t kFloat = 0x0004;
constexpr std::uint16_t kDouble = 0x0005;
constexpr std::uint16_t kCurrency = 0x0006;
constexpr std::uint16_t kAppTime = 0x0007;
constexpr std::uint16_t kError = 0x000A;
constexpr std::uint16_t kBoolean = 0x000B;
constexpr std::uint16_t kI8 = 0x0014;
constexpr std::uint16_t kString8 = 0x001E;
constexpr std::uint16_t kUnicode = 0x001F;
constexpr std::uint16_t kSysTime = 0x0040;
constexpr std::uint16_t kGuid = 0x0048;
constexpr std::uint16_t kBinary = 0x0102;
}  // namespace ptype

inline std::uint16_t typeOf(std::uint32_t tag) { return static_cast<std::uint16_t>(tag & 0xFFFF); }
inline std::uint16_t idOf(std::uint32_t tag) { return static_cast<std::uint16_t>(tag >> 16); }

// Types whose values always fit the 4 bytes of a PC record.
bool isInlineType(std::uint16_t type);
// Fixed 8-byte types, always kept in the heap.
bool isEightByteType(std::uint16_t type);
// Width of a table cell of this type.
std::uint8_t cellWidth(std::uint16_t type);
// Short name of a type for listings ("PT_UNICODE"); hex when unknown.
const char* typeName(std::uint16_t type);

}  // namespace vread
