// Property context: a heap whose BTH maps property IDs to typed values.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "heap.h"

namespace vread {

struct PropValue {
  std::uint32_t tag = 0;
  Bytes bytes;          // the value; inline values give their 4 record bytes
  bool inHeap = false;  // the value is a heap allocation
  std::uint32_t hnid = 0;  // the record's dwValueHnid
  std::uint64_t offset = 0;
};

class PropertyContext {
 public:
  static std::optional<PropertyContext> parse(const Heap& heap, ViolationLog& log);

  const std::map<std::uint32_t, PropValue>& all() const { return props_; }
  const PropValue* find(std::uint32_t tag) const;
  // PT_UNICODE value as UTF-8.
  std::optional<std::string> text(std::uint32_t tag) const;
  // Inline value as a 32-bit number.
  std::optional<std::uint32_t> u32(std::uint32_t tag) const;
  // 8-byte value (PT_SYSTIME, PT_I8, or an 8-byte binary).
  std::optional<std::uint64_t> u64(std::uint32_t tag) const;

 private:
  void addRecord(const Heap& heap, std::uint16_t id, const Bytes& data, std::uint64_t offset, bool heapRef,
                 ViolationLog& log);

  std::map<std::uint32_t, PropValue> props_;
};

}  // namespace vread
