// B-tree-on-heap builder. Every tree is written with zero index levels: one
// allocation holds all leaf records sorted by key, and a BTHHEADER points
// at it.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "core/coding.h"

namespace virel {
namespace ltp {

class Heap;

// BTHHEADER, 8 bytes.
struct BthHeader {
  uint8_t type;
  uint8_t key_size;
  uint8_t entry_size;
  uint8_t index_levels;
  uint32_t hid_root;  // 0 when the tree is empty

  void EncodeTo(uint8_t* dst) const;  // kBthHeaderSize bytes
};

class BthBuilder {
 public:
  // key_size is 2 or 4 bytes; entry_size is the data size of each record.
  BthBuilder(uint8_t key_size, uint8_t entry_size);

  // Adds one record; data must be entry_size bytes. Records with equal keys
  // keep the order in which they were added.
  void Reserve(size_t records);
  void Add(uint32_t key, const uint8_t* data);
  void Add(uint32_t key, const Bytes& data);

  // Allocates the sorted leaf array (only when there are records), then
  // the header, and returns the header's HID.
  uint32_t Finish(Heap* heap);

 private:
  size_t record_size() const { return size_t{key_size_} + entry_size_; }
  uint32_t KeyAt(size_t i) const;
  void SortLeaves();

  uint8_t key_size_;
  uint8_t entry_size_;
  Bytes leaves_;         // key and data per record, in the order added
  bool sorted_ = true;   // keys so far ascend
};

}  // namespace ltp
}  // namespace virel
