#include "ndb/block.h"

#include <algorithm>
#include <cstring>

#include "ndb/crc32.h"
#include "ndb/encoding.h"

namespace virel {
namespace ndb {

uint8_t* BlockBuilder::Start(size_t cb) {
  const size_t size = static_cast<size_t>(BlockSize(cb));
  if (size > capacity_) {
    buffer_.reset(new uint8_t[size]);  // left uninitialised on purpose
    capacity_ = size;
  }
  cb_ = cb;
  return buffer_.get();
}

BlockBuilder::Image BlockBuilder::Finish(uint64_t bid, uint64_t ib,
                                         bool encode) {
  uint8_t* out = buffer_.get();
  const uint32_t crc = Crc32(out, cb_);
  if (encode) EncodeCopy(out, cb_, out);
  return Close(crc, bid, ib);
}

BlockBuilder::Image BlockBuilder::Build(const uint8_t* payload, size_t cb,
                                        uint64_t bid, uint64_t ib,
                                        bool encode) {
  uint8_t* out = Start(cb);
  if (cb > 0) {
    if (encode) {
      EncodeCopy(payload, cb, out);
    } else {
      std::memcpy(out, payload, cb);
    }
  }
  return Close(Crc32(payload, cb), bid, ib);
}

BlockBuilder::Image BlockBuilder::Close(uint32_t crc, uint64_t bid,
                                        uint64_t ib) {
  uint8_t* out = buffer_.get();
  const size_t trailer_at = static_cast<size_t>(BlockSize(cb_)) - kBlockTrailerSize;
  std::fill(out + cb_, out + trailer_at, uint8_t{0});
  uint8_t* t = out + trailer_at;
  EncodeFixed16(t, static_cast<uint16_t>(cb_));
  EncodeFixed16(t + 2, BlockSignature(ib, bid));
  EncodeFixed32(t + 4, crc);
  EncodeFixed64(t + 8, bid);
  return {out, trailer_at + kBlockTrailerSize};
}

Bytes BuildBlock(const Bytes& payload, uint64_t bid, uint64_t ib, bool encode) {
  BlockBuilder builder;
  const BlockBuilder::Image image =
      builder.Build(payload.data(), payload.size(), bid, ib, encode);
  return Bytes(image.data, image.data + image.size);
}

}  // namespace ndb
}  // namespace virel
