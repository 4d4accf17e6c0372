#include "ltp/property_bag.h"

#include <algorithm>
#include <utility>

#include "ltp/utf8.h"

namespace virel {
namespace ltp {

namespace {
constexpr size_t kTypicalCount = 16;  // properties of a message or folder
}  // namespace

void PropertyBag::SetBytes(uint32_t tag, Bytes value) {
  for (auto& entry : values_) {
    if (entry.first == tag) {
      entry.second = std::move(value);
      return;
    }
  }
  if (values_.empty()) values_.reserve(kTypicalCount);
  values_.emplace_back(tag, std::move(value));
}

void PropertyBag::SetInt32(uint32_t tag, uint32_t value) {
  Bytes encoded;
  PutFixed32(&encoded, value);
  SetBytes(tag, std::move(encoded));
}

void PropertyBag::SetInt64(uint32_t tag, uint64_t value) {
  Bytes encoded;
  PutFixed64(&encoded, value);
  SetBytes(tag, std::move(encoded));
}

const Bytes& PropertyBag::SetString(uint32_t tag, const std::string& utf8) {
  SetBytes(tag, Utf8ToUtf16(utf8));
  return *Find(tag);  // stable until the next setter call
}

const Bytes* PropertyBag::Find(uint32_t tag) const {
  for (const auto& entry : values_) {
    if (entry.first == tag) return &entry.second;
  }
  return nullptr;
}

bool PropertyBag::Take(uint32_t tag, Bytes* out) {
  for (auto& entry : values_) {
    if (entry.first == tag) {
      *out = std::move(entry.second);
      entry.second.clear();
      return true;
    }
  }
  return false;
}

std::vector<uint32_t> PropertyBag::SortedTags() const {
  std::vector<uint32_t> tags;
  tags.reserve(values_.size());
  for (const auto& entry : values_) tags.push_back(entry.first);
  std::sort(tags.begin(), tags.end());
  return tags;
}

}  // namespace ltp
}  // namespace virel
