#include "ndb/block.h"

#include <algorithm>
#include <cstring>

#include "ndb/crc32.h"
#include "ndb/encoding.h"

namespace virel {
namespace ndb {

const Bytes& BlockBuilder::Build(const uint8_t* payload, size_t cb,
                                 uint64_t bid, uint64_t ib, bool encode) {
  const size_t trailer_at = static_cast<size_t>(BlockSize(cb)) - kBlockTrailerSize;
  buffer_.resize(trailer_at + kBlockTrailerSize);
  uint8_t* out = buffer_.data();
  if (cb > 0) {
    if (encode) {
      EncodeCopy(payload, cb, out);
    } else {
      std::memcpy(out, payload, cb);
    }
  }
  std::fill(out + cb, out + trailer_at, uint8_t{0});

  uint8_t* t = out + trailer_at;
  EncodeFixed16(t, static_cast<uint16_t>(cb));
  EncodeFixed16(t + 2, BlockSignature(ib, bid));
  EncodeFixed32(t + 4, Crc32(payload, cb));
  EncodeFixed64(t + 8, bid);
  return buffer_;
}

Bytes BuildBlock(const Bytes& payload, uint64_t bid, uint64_t ib, bool encode) {
  BlockBuilder builder;
  return builder.Build(payload.data(), payload.size(), bid, ib, encode);
}

}  // namespace ndb
}  // namespace virel
