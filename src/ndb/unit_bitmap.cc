#include "ndb/unit_bitmap.h"

#include <algorithm>

namespace virel {
namespace ndb {

void UnitBitmap::Mark(uint64_t offset, uint64_t size) {
  const uint64_t first = offset / kUnitSize;
  const uint64_t last = (offset + size + kUnitSize - 1) / kUnitSize;
  for (uint64_t unit = first; unit < last; ++unit) {
    const uint64_t byte = unit / 8;
    if (byte >= bits_.size()) {
      // Geometric growth keeps marking a long file linear.
      bits_.resize(static_cast<size_t>(
                       std::max<uint64_t>(2 * bits_.size(), byte + 64)),
                   0);
    }
    const uint8_t mask = static_cast<uint8_t>(1u << (unit % 8));
    if ((bits_[byte] & mask) == 0) {
      bits_[byte] |= mask;
      ++used_;
    }
  }
}

bool UnitBitmap::IsSet(uint64_t unit) const {
  const uint64_t byte = unit / 8;
  return byte < bits_.size() && (bits_[byte] >> (unit % 8)) & 1;
}

}  // namespace ndb
}  // namespace virel
