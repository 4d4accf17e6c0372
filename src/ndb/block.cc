#include "ndb/block.h"

#include <algorithm>

#include "ndb/crc32.h"
#include "ndb/encoding.h"

namespace virel {
namespace ndb {

Bytes BuildBlock(const Bytes& payload, uint64_t bid, uint64_t ib, bool encode) {
  const size_t cb = payload.size();
  const size_t trailer_at = static_cast<size_t>(BlockSize(cb)) - kBlockTrailerSize;
  Bytes block(static_cast<size_t>(BlockSize(cb)), 0);
  std::copy(payload.begin(), payload.end(), block.begin());
  if (encode) EncodePayload(block.data(), cb);

  uint8_t* t = block.data() + trailer_at;
  EncodeFixed16(t, static_cast<uint16_t>(cb));
  EncodeFixed16(t + 2, BlockSignature(ib, bid));
  EncodeFixed32(t + 4, Crc32(payload.data(), cb));
  EncodeFixed64(t + 8, bid);
  return block;
}

}  // namespace ndb
}  // namespace virel
