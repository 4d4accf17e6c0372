// The on-disk block: payload (encoded when asked), zero padding to a
// 64-byte boundary, then a 16-byte trailer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/coding.h"

namespace virel {
namespace ndb {

inline constexpr size_t kBlockTrailerSize = 16;
inline constexpr size_t kMaxBlockPayload = 8176;  // 8 KiB less the trailer

struct BlockTrailer {
  uint16_t cb;
  uint16_t sig;
  uint32_t crc;
  uint64_t bid;
};

// Bytes a block with a payload of `cb` bytes occupies in the file.
inline uint64_t BlockSize(uint64_t cb) { return ((cb + 63) & ~uint64_t{63}) + 16; }

// The low 16 bits of ib XOR bid, without folding in the higher bits.
inline uint16_t BlockSignature(uint64_t ib, uint64_t bid) {
  return static_cast<uint16_t>((ib ^ bid) & 0xFFFF);
}

// A BID: the block counter shifted past the two flag bits.
inline uint64_t MakeBid(uint64_t index, bool internal) {
  return (index << 2) | (internal ? 2u : 0u);
}

// Builds block images in one buffer kept from block to block and never
// cleared, so no byte is touched twice: the payload goes straight into
// place (copied and encoded in one pass, or filled by the caller between
// Start and Finish), then the padding and the trailer. The CRC covers the
// payload before encoding. An image is valid until the next Start.
class BlockBuilder {
 public:
  struct Image {
    const uint8_t* data;
    size_t size;
  };

  // Room for a payload of `cb` bytes, to be filled before Finish.
  uint8_t* Start(size_t cb);
  Image Finish(uint64_t bid, uint64_t ib, bool encode);

  // Start, a copy of `payload` (encoded on the way) and Finish.
  Image Build(const uint8_t* payload, size_t cb, uint64_t bid, uint64_t ib,
              bool encode);

 private:
  Image Close(uint32_t crc, uint64_t bid, uint64_t ib);

  std::unique_ptr<uint8_t[]> buffer_;
  size_t capacity_ = 0;
  size_t cb_ = 0;
};

// One block image on its own.
Bytes BuildBlock(const Bytes& payload, uint64_t bid, uint64_t ib, bool encode);

}  // namespace ndb
}  // namespace virel
