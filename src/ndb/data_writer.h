// Writes byte buffers into the file as blocks and returns the BID that
// references them: one block up to 8176 bytes, an XBLOCK over up to 1021
// chunks, an XXBLOCK of XBLOCKs beyond.
#pragma once

#include <cstdint>
#include <functional>

#include "core/coding.h"
#include "ndb/block.h"
#include "ndb/block_allocator.h"
#include "ndb/file_store.h"
#include "ndb/header.h"
#include "ndb/node_registry.h"

namespace virel {
namespace ndb {

// BIDs that fit one XBLOCK after its 8-byte header.
inline constexpr size_t kMaxXBlockEntries = (kMaxBlockPayload - 8) / 8;

class DataWriter {
 public:
  DataWriter(BlockAllocator* allocator, FileStore* store,
             NodeRegistry* registry)
      : allocator_(allocator), store_(store), registry_(registry) {}
  // Counts instead of writing: every block takes a BID from `registry` and
  // is registered there at offset 0, and no file is touched.
  explicit DataWriter(NodeRegistry* registry)
      : DataWriter(nullptr, nullptr, registry) {}

  // Node data (internal false) is encoded; XBLOCK, XXBLOCK and SLBLOCK
  // buffers (internal true) are not.
  uint64_t WriteData(const Bytes& data, bool internal);

  // One block of any size with the encoding chosen by the caller.
  Bref WriteBlock(const Bytes& payload, bool internal, bool encode) {
    return WriteBlock(payload.data(), payload.size(), internal, encode);
  }
  Bref WriteBlock(const uint8_t* payload, size_t size, bool internal,
                  bool encode);
  // A block whose `size` payload bytes `fill` writes straight into place.
  Bref WriteBlock(size_t size, bool internal, bool encode,
                  const std::function<void(uint8_t*)>& fill);

  // File bytes the blocks written so far take.
  uint64_t written_bytes() const { return written_bytes_; }

 private:
  uint64_t WriteTree(const Bytes& data);
  bool counting() const { return allocator_ == nullptr; }
  // A new BID and the space for a block of `size` payload bytes (offset 0
  // when counting).
  Bref Place(size_t size, bool internal);
  Bref Register(const Bref& at, size_t size);
  Bref Store(const Bref& at, BlockBuilder::Image image, size_t size);

  BlockAllocator* allocator_;
  FileStore* store_;
  NodeRegistry* registry_;
  BlockBuilder builder_;
  uint64_t written_bytes_ = 0;
};

}  // namespace ndb
}  // namespace virel
