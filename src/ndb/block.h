// The on-disk block: payload (encoded when asked), zero padding to a
// 64-byte boundary, then a 16-byte trailer.
#pragma once

#include <cstdint>

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

// Builds block images in one buffer kept from block to block: the payload
// is copied (and encoded) straight into place, then padding and trailer.
// The CRC covers the payload before encoding.
class BlockBuilder {
 public:
  // The image of `cb` payload bytes written at `ib` under `bid`; valid
  // until the next call.
  const Bytes& Build(const uint8_t* payload, size_t cb, uint64_t bid,
                     uint64_t ib, bool encode);

 private:
  Bytes buffer_;
};

// One block image on its own.
Bytes BuildBlock(const Bytes& payload, uint64_t bid, uint64_t ib, bool encode);

}  // namespace ndb
}  // namespace virel
