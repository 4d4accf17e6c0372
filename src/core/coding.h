// Little-endian put/get helpers: the only place that turns integers into
// file bytes and back.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace virel {

using Bytes = std::vector<uint8_t>;

// Encode into a caller-provided buffer (at least N bytes).
inline void EncodeFixed16(uint8_t* dst, uint16_t v) {
  dst[0] = static_cast<uint8_t>(v);
  dst[1] = static_cast<uint8_t>(v >> 8);
}
// Written out byte by byte, as compilers turn into one load or store.
inline void EncodeFixed32(uint8_t* dst, uint32_t v) {
  dst[0] = static_cast<uint8_t>(v);
  dst[1] = static_cast<uint8_t>(v >> 8);
  dst[2] = static_cast<uint8_t>(v >> 16);
  dst[3] = static_cast<uint8_t>(v >> 24);
}
inline void EncodeFixed64(uint8_t* dst, uint64_t v) {
  EncodeFixed32(dst, static_cast<uint32_t>(v));
  EncodeFixed32(dst + 4, static_cast<uint32_t>(v >> 32));
}

inline uint16_t DecodeFixed16(const uint8_t* p) {
  return static_cast<uint16_t>(p[0] | (p[1] << 8));
}
inline uint32_t DecodeFixed32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
         (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}
inline uint64_t DecodeFixed64(const uint8_t* p) {
  return static_cast<uint64_t>(DecodeFixed32(p)) |
         (static_cast<uint64_t>(DecodeFixed32(p + 4)) << 32);
}

// Fresh little-endian byte vectors of one value.
inline Bytes Fixed32Bytes(uint32_t v) {
  Bytes b(4);
  EncodeFixed32(b.data(), v);
  return b;
}
inline Bytes Fixed64Bytes(uint64_t v) {
  Bytes b(8);
  EncodeFixed64(b.data(), v);
  return b;
}

// Append to a growing byte vector.
inline void PutFixed8(Bytes* dst, uint8_t v) { dst->push_back(v); }
inline void PutFixed16(Bytes* dst, uint16_t v) {
  uint8_t buf[2];
  EncodeFixed16(buf, v);
  dst->insert(dst->end(), buf, buf + 2);
}
inline void PutFixed32(Bytes* dst, uint32_t v) {
  uint8_t buf[4];
  EncodeFixed32(buf, v);
  dst->insert(dst->end(), buf, buf + 4);
}
inline void PutFixed64(Bytes* dst, uint64_t v) {
  uint8_t buf[8];
  EncodeFixed64(buf, v);
  dst->insert(dst->end(), buf, buf + 8);
}
inline void PutBytes(Bytes* dst, const void* data, size_t size) {
  const uint8_t* p = static_cast<const uint8_t*>(data);
  dst->insert(dst->end(), p, p + size);
}
inline void PutBytes(Bytes* dst, const Bytes& src) {
  dst->insert(dst->end(), src.begin(), src.end());
}
inline void PutBytes(Bytes* dst, const std::string& src) {
  dst->insert(dst->end(), src.begin(), src.end());
}

}  // namespace virel
