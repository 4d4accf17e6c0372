// The 16-byte trailer that ends every 512-byte page.
#pragma once

#include <cstdint>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr size_t kPageSize = 512;
inline constexpr size_t kPageDataSize = 496;  // bytes covered by dwCRC

namespace page_offset {
inline constexpr size_t kType = 496;
inline constexpr size_t kTypeRepeat = 497;
inline constexpr size_t kSig = 498;
inline constexpr size_t kCrc = 500;
inline constexpr size_t kBid = 504;
}  // namespace page_offset

enum PageType : uint8_t {
  kPageTypeBbt = 0x80,
  kPageTypeNbt = 0x81,
  kPageTypeFMap = 0x82,
  kPageTypePMap = 0x83,
  kPageTypeAMap = 0x84,
  kPageTypeDList = 0x86,
};

// Fills the trailer of a 512-byte page whose first 496 bytes are final.
void WritePageTrailer(uint8_t* page, uint8_t ptype, uint16_t sig, uint64_t bid);

// Recomputes dwCRC after the page's data bytes changed.
void UpdatePageCrc(uint8_t* page);

}  // namespace ndb
}  // namespace virel
