#include "ltp/property_value.h"

#include <algorithm>
#include <utility>

namespace virel {
namespace ltp {

PropertyValue::PropertyValue(const uint8_t* data, size_t size) {
  if (size <= kInPlace) {
    std::copy_n(data, size, small_);
    small_size_ = static_cast<uint8_t>(size);
  } else {
    large_.assign(data, data + size);
    small_size_ = kLarge;
  }
}

PropertyValue::PropertyValue(Bytes bytes) {
  if (bytes.size() <= kInPlace) {
    std::copy(bytes.begin(), bytes.end(), small_);
    small_size_ = static_cast<uint8_t>(bytes.size());
  } else {
    large_ = std::move(bytes);
    small_size_ = kLarge;
  }
}

Bytes PropertyValue::TakeBytes() {
  Bytes out = in_place() ? ToBytes() : std::move(large_);
  large_.clear();
  small_size_ = 0;
  return out;
}

bool operator==(const PropertyValue& a, const Bytes& b) {
  return a.size() == b.size() && std::equal(b.begin(), b.end(), a.data());
}

}  // namespace ltp
}  // namespace virel
