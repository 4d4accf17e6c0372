#include "prop_types.h"

namespace vread {

bool isInlineType(std::uint16_t type) {
  switch (type) {
    case ptype::kI2:
    case ptype::kLong:
    case ptype::kFloat:
    case ptype::kError:
    case ptype::kBoolean:
      return true;
    default:
      return false;
  }
}

bool isEightByteType(std::uint16_t type) {
  switch (type) {
    case ptype::kDouble:
    case ptype::kCurrency:
    case ptype::kAppTime:
    case ptype::kI8:
    case ptype::kSysTime:
      return true;
    default:
      return false;
  }
}

std::uint8_t cellWidth(std::uint16_t type) {
  if (type == ptype::kI2 || type == ptype::kBoolean) return 2;
  if (isEightByteType(type)) return 8;
  return 4;
}

const char* typeName(std::uint16_t type) {
  switch (type) {
    case ptype::kI2: return "PT_I2";
    case ptype::kLong: return "PT_LONG";
    case ptype::kFloat: return "PT_FLOAT";
    case ptype::kDouble: return "PT_DOUBLE";
    case ptype::kCurrency: return "PT_CURRENCY";
    case ptype::kAppTime: return "PT_APPTIME";
    case ptype::kError: return "PT_ERROR";
    case ptype::kBoolean: return "PT_BOOLEAN";
    case ptype::kI8: return "PT_I8";
    case ptype::kString8: return "PT_STRING8";
    case ptype::kUnicode: return "PT_UNICODE";
    case ptype::kSysTime: return "PT_SYSTIME";
    case ptype::kGuid: return "PT_CLSID";
    case ptype::kBinary: return "PT_BINARY";
    default: return "PT_OTHER";
  }
}

}  // namespace vread
