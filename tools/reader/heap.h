// Heap-on-node: the numbered allocations inside a node's data.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "data_tree.h"

namespace vread {

class Heap {
 public:
  // Parses node data as a heap; nothing when the header or page map is unusable.
  static std::optional<Heap> parse(NodeBytes data, ViolationLog& log);

  std::uint8_t clientSig() const { return clientSig_; }
  std::uint32_t userRoot() const { return userRoot_; }
  std::size_t count() const { return offsets_.empty() ? 0 : offsets_.size() - 1; }

  // True when `value` has the form of a HID of an existing allocation.
  bool isHid(std::uint32_t value) const;
  // The bytes of allocation `hid`, nothing when it does not exist.
  std::optional<Bytes> item(std::uint32_t hid) const;
  // File offset of allocation `hid` (for violation reports).
  std::uint64_t fileOffset(std::uint32_t hid) const;
  std::uint64_t fileOffsetAt(std::size_t pos) const { return data_.fileOffset(pos); }

 private:
  explicit Heap(NodeBytes data) : data_(std::move(data)) {}
  bool readPageMap(ViolationLog& log);

  NodeBytes data_;
  std::uint8_t clientSig_ = 0;
  std::uint32_t userRoot_ = 0;
  std::vector<std::uint16_t> offsets_;  // rgibAlloc
};

// Logs every allocation of `heap` whose HID is not in `used`.
void reportUnreferenced(const Heap& heap, const std::set<std::uint32_t>& used, ViolationLog& log);

}  // namespace vread
