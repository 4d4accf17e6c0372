// One bit per 512-byte unit of the file, set when the unit holds data.
#pragma once

#include <cstdint>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr uint64_t kUnitSize = 512;

class UnitBitmap {
 public:
  UnitBitmap() : bits_(1, 0) {}

  // Sets the bit of every unit that [offset, offset + size) touches.
  void Mark(uint64_t offset, uint64_t size);
  bool IsSet(uint64_t unit) const;

  const Bytes& bytes() const { return bits_; }
  uint64_t used() const { return used_; }

 private:
  Bytes bits_;
  uint64_t used_ = 0;
};

}  // namespace ndb
}  // namespace virel
