// On-disk constants of the lists-tables-and-properties layer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace virel {
namespace ltp {

// Heap-on-node header.
constexpr size_t kHeapHeaderSize = 12;
constexpr uint8_t kHeapSignature = 0xEC;  // bSig
constexpr uint8_t kClientSigPropertyContext = 0xBC;
constexpr uint8_t kClientSigTableContext = 0x7C;

// A HID is the allocation index (11 bits) shifted past the 5 hidType bits.
constexpr uint32_t kHidIndexShift = 5;
constexpr uint32_t kHidIndexMask = 0x7FF;

// B-tree-on-heap header.
constexpr uint8_t kBthType = 0xB5;
constexpr size_t kBthHeaderSize = 8;

// Table context info.
constexpr uint8_t kTcInfoType = 0x7C;
constexpr size_t kTcInfoFixedSize = 22;
constexpr size_t kTcColumnDescSize = 8;

// Property types (low 16 bits of a tag).
constexpr uint16_t kPtI2 = 0x0002;
constexpr uint16_t kPtLong = 0x0003;
constexpr uint16_t kPtFloat = 0x0004;
constexpr uint16_t kPtDouble = 0x0005;
constexpr uint16_t kPtCurrency = 0x0006;
constexpr uint16_t kPtAppTime = 0x0007;
constexpr uint16_t kPtError = 0x000A;
constexpr uint16_t kPtBoolean = 0x000B;
constexpr uint16_t kPtObject = 0x000D;
constexpr uint16_t kPtI8 = 0x0014;
constexpr uint16_t kPtString8 = 0x001E;
constexpr uint16_t kPtUnicode = 0x001F;
constexpr uint16_t kPtSysTime = 0x0040;
constexpr uint16_t kPtClsid = 0x0048;
constexpr uint16_t kPtBinary = 0x0102;

inline constexpr uint16_t PropId(uint32_t tag) {
  return static_cast<uint16_t>(tag >> 16);
}
inline constexpr uint16_t PropType(uint32_t tag) {
  return static_cast<uint16_t>(tag & 0xFFFF);
}
inline constexpr uint32_t MakeTag(uint16_t id, uint16_t type) {
  return (static_cast<uint32_t>(id) << 16) | type;
}

}  // namespace ltp
}  // namespace virel
