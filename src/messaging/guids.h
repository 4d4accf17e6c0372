// Property set GUIDs, in their 16-byte on-disk layout (Data1 to Data3
// little-endian, then the eight bytes of Data4).
#pragma once

#include <array>
#include <cstdint>

namespace virel {

using Guid = std::array<uint8_t, 16>;

// Builds the on-disk bytes of {d1-d2-d3-d4}.
constexpr Guid MakeGuid(uint32_t d1, uint16_t d2, uint16_t d3,
                        std::array<uint8_t, 8> d4) {
  return Guid{static_cast<uint8_t>(d1), static_cast<uint8_t>(d1 >> 8),
              static_cast<uint8_t>(d1 >> 16), static_cast<uint8_t>(d1 >> 24),
              static_cast<uint8_t>(d2), static_cast<uint8_t>(d2 >> 8),
              static_cast<uint8_t>(d3), static_cast<uint8_t>(d3 >> 8),
              d4[0], d4[1], d4[2], d4[3], d4[4], d4[5], d4[6], d4[7]};
}

inline constexpr std::array<uint8_t, 8> kMapiGuidTail = {0xC0, 0, 0, 0,
                                                         0,    0, 0, 0x46};

inline constexpr Guid kPsPublicStrings = MakeGuid(0x00020329, 0, 0, kMapiGuidTail);
inline constexpr Guid kPsMapi = MakeGuid(0x00020328, 0, 0, kMapiGuidTail);
inline constexpr Guid kPsetidAppointment =
    MakeGuid(0x00062002, 0, 0, kMapiGuidTail);
inline constexpr Guid kPsetidTask = MakeGuid(0x00062003, 0, 0, kMapiGuidTail);
inline constexpr Guid kPsetidCommon = MakeGuid(0x00062008, 0, 0, kMapiGuidTail);
inline constexpr Guid kPsetidLog = MakeGuid(0x0006200A, 0, 0, kMapiGuidTail);

}  // namespace virel
