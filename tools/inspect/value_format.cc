#include "value_format.h"

#include <cstdio>

#include "prop_types.h"
#include "text.h"
#include "violations.h"

namespace inspect {

namespace {

constexpr std::uint16_t kFirstNamedId = 0x8000;

std::string quoted(const std::string& s) { return "\"" + printable(s) + "\""; }

std::string tagHex(std::uint32_t tag) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08X", tag);
  return buf;
}

}  // namespace

std::string printable(const std::string& text) {
  std::string out = text;
  for (char& c : out)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return out;
}

std::string formatValue(std::uint32_t tag, const vread::Bytes& b) {
  using namespace vread;
  std::uint16_t type = typeOf(tag);
  if (type == ptype::kUnicode) return quoted(utf16ToUtf8(b));
  if (type == ptype::kString8 && b.size() % 2 == 0) return quoted(utf16ToUtf8(b)) + " [" + hexDump(b, 32) + "]";
  if ((type == ptype::kLong || type == ptype::kI2) && b.size() >= 2) {
    std::uint32_t v = b.size() >= 4 ? le32(b.data()) : le16(b.data());
    return std::to_string(v) + " (" + hex(v) + ")";
  }
  if (type == ptype::kBoolean && !b.empty()) return b[0] ? "true" : "false";
  if (type == ptype::kSysTime && b.size() == 8) return filetimeToIso(le64(b.data()));
  if (type == ptype::kI8 && b.size() == 8) return std::to_string(le64(b.data()));
  return "[" + std::to_string(b.size()) + " bytes] " + hexDump(b);
}

std::string formatTag(std::uint32_t tag, const vread::NameMap& names) {
  using namespace vread;
  std::string out = tagHex(tag) + " " + typeName(typeOf(tag));
  if (idOf(tag) < kFirstNamedId) return out;
  for (const auto& e : names.entries())
    if (e.index == idOf(tag) - kFirstNamedId) {
      auto set = names.setOf(e);
      out += " (named " + (set ? formatGuid(*set) : std::string("?")) + " " + hex(e.dispid) + ")";
    }
  return out;
}

}  // namespace inspect
