// Heap-on-node builder: numbered allocations laid out as one packed page.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/coding.h"

namespace virel {
namespace ltp {

class Heap {
 public:
  Heap() { Reset(); }

  // Back to an empty heap: next HID 0x20, signature and user root 0.
  void Reset();

  // Room for `allocations` more allocations of `bytes` in all.
  void Reserve(size_t allocations, size_t bytes);

  // Stores a copy of the bytes (possibly empty) and returns its HID. The
  // index wraps after 2047 allocations; a colliding HID replaces the older
  // allocation.
  uint32_t Allocate(const Bytes& data) { return Allocate(data.data(), data.size()); }
  uint32_t Allocate(const uint8_t* data, size_t size);
  // An allocation whose bytes stay the caller's: they must neither change
  // nor go away until the heap is serialised or reset.
  uint32_t Refer(const uint8_t* data, size_t size);

  void set_client_signature(uint8_t signature) { client_signature_ = signature; }
  void set_user_root(uint32_t hid) { user_root_ = hid; }
  uint8_t client_signature() const { return client_signature_; }
  uint32_t user_root() const { return user_root_; }
  size_t allocation_count() const { return count_; }
  // More allocations were drawn than HIDs exist, so some were replaced.
  bool wrapped() const;

  // HNHDR, the allocations back to back in index order without padding,
  // then the page map. Offsets are stored as 16-bit values.
  Bytes Serialize() const;
  size_t SerializedSize() const;
  // Writes all SerializedSize() bytes of the page to `out`.
  void SerializeTo(uint8_t* out) const;

 private:
  uint32_t next_index_;  // counts on past the wrap, so wrapped() stays true
  uint8_t client_signature_;
  uint32_t user_root_;
  // Where an allocation's bytes sit: in data_, or the caller's.
  struct Span {
    size_t offset = 0;
    size_t size = 0;
    bool used = false;
    const uint8_t* external = nullptr;
  };
  Span& NextSlot(uint32_t* hid);

  size_t PageMapOffset() const;

  // Slot per (wrapped) index, so slot order is HID order; a replaced
  // allocation's bytes stay in data_ unreferenced.
  std::vector<Span> slots_;
  Bytes data_;
  size_t count_ = 0;
};

}  // namespace ltp
}  // namespace virel
