#include "ltp/property_bag.h"

#include <algorithm>
#include <utility>

#include "ltp/utf8.h"

namespace virel {
namespace ltp {

namespace {

constexpr size_t kTypicalCount = 16;  // properties of a message or folder

template <typename Entries>
auto LowerBound(Entries& entries, uint32_t tag) {
  return std::lower_bound(entries.begin(), entries.end(), tag,
                          [](const auto& entry, uint32_t t) { return entry.first < t; });
}

}  // namespace

void PropertyBag::SetBytes(uint32_t tag, Bytes value) {
  SetBytes(tag, PropertyValue(std::move(value)));
}

void PropertyBag::SetBytes(uint32_t tag, PropertyValue value) {
  auto it = LowerBound(values_, tag);
  if (it != values_.end() && it->first == tag) {
    it->second = std::move(value);
    return;
  }
  if (values_.empty()) {
    values_.reserve(kTypicalCount);
    it = values_.begin();
  }
  values_.emplace(it, tag, std::move(value));
}

void PropertyBag::SetInt32(uint32_t tag, uint32_t value) {
  uint8_t encoded[4];
  EncodeFixed32(encoded, value);
  SetBytes(tag, PropertyValue(encoded, sizeof(encoded)));
}

void PropertyBag::SetInt64(uint32_t tag, uint64_t value) {
  uint8_t encoded[8];
  EncodeFixed64(encoded, value);
  SetBytes(tag, PropertyValue(encoded, sizeof(encoded)));
}

const PropertyValue& PropertyBag::SetString(uint32_t tag, const std::string& utf8) {
  SetBytes(tag, Utf8ToUtf16(utf8));
  return *Find(tag);  // stable until the next setter call
}

const PropertyValue* PropertyBag::Find(uint32_t tag) const {
  auto it = LowerBound(values_, tag);
  return it != values_.end() && it->first == tag ? &it->second : nullptr;
}

bool PropertyBag::Take(uint32_t tag, Bytes* out) {
  auto it = LowerBound(values_, tag);
  if (it == values_.end() || it->first != tag) return false;
  *out = it->second.TakeBytes();
  return true;
}

}  // namespace ltp
}  // namespace virel
