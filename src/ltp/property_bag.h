// The properties of one object, keyed by tag, each held in the exact bytes
// the file will store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "core/coding.h"
#include "ltp/property_value.h"

namespace virel {
namespace ltp {

class PropertyBag {
 public:
  // Each setter replaces any earlier value of the same tag.
  void SetBytes(uint32_t tag, Bytes value);
  void SetBytes(uint32_t tag, PropertyValue value);
  void SetInt32(uint32_t tag, uint32_t value);  // 4 bytes little-endian
  void SetInt64(uint32_t tag, uint64_t value);  // 8 bytes little-endian
  // UTF-16LE without terminator; empty or rejected text stores 0 bytes.
  // Returns the stored value, for a second tag that carries the same text.
  const PropertyValue& SetString(uint32_t tag, const std::string& utf8);

  // Null when the tag is not set.
  const PropertyValue* Find(uint32_t tag) const;
  // Moves the value of `tag` into `out` (leaving it empty in the bag);
  // false when the tag is not set.
  bool Take(uint32_t tag, Bytes* out);
  size_t size() const { return values_.size(); }
  bool empty() const { return values_.empty(); }

  using Entry = std::pair<uint32_t, PropertyValue>;
  // All properties, ascending by tag as unsigned numbers (by identifier,
  // then type).
  const std::vector<Entry>& entries() const { return values_; }

 private:
  // Few per object, so a sorted list beats a hash table.
  std::vector<Entry> values_;
};

}  // namespace ltp
}  // namespace virel
