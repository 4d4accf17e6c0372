// One property's stored bytes: values of up to eight bytes (the integers,
// flags and times most objects carry) are held in place, longer ones in a
// byte vector of their own.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/coding.h"

namespace virel {
namespace ltp {

class PropertyValue {
 public:
  PropertyValue() = default;
  PropertyValue(const uint8_t* data, size_t size);
  explicit PropertyValue(Bytes bytes);

  const uint8_t* data() const { return in_place() ? small_ : large_.data(); }
  size_t size() const { return in_place() ? small_size_ : large_.size(); }
  bool empty() const { return size() == 0; }
  uint8_t operator[](size_t i) const { return data()[i]; }

  Bytes ToBytes() const { return Bytes(data(), data() + size()); }
  // The bytes as a vector, moved out when they were not in place; the
  // value is left empty.
  Bytes TakeBytes();

 private:
  static constexpr size_t kInPlace = 8;
  static constexpr uint8_t kLarge = 0xFF;  // small_size_ of a vector value

  bool in_place() const { return small_size_ != kLarge; }

  uint8_t small_[kInPlace] = {};
  uint8_t small_size_ = 0;
  Bytes large_;
};

bool operator==(const PropertyValue& a, const Bytes& b);
inline bool operator==(const Bytes& a, const PropertyValue& b) { return b == a; }

}  // namespace ltp
}  // namespace virel
