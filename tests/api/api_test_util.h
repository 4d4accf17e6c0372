// Reading back what the C interface wrote, through the independent reader.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "../unit/test_util.h"
#include "mailbox.h"

namespace apitest {

using Bytes = std::vector<uint8_t>;

// UTF-16LE bytes of an ASCII text.
inline Bytes Utf16(const std::string& ascii) {
  Bytes out;
  for (char c : ascii) {
    out.push_back(static_cast<uint8_t>(c));
    out.push_back(0);
  }
  return out;
}

inline Bytes Le32(uint32_t v) {
  return {static_cast<uint8_t>(v), static_cast<uint8_t>(v >> 8),
          static_cast<uint8_t>(v >> 16), static_cast<uint8_t>(v >> 24)};
}

inline Bytes Le64(uint64_t v) {
  Bytes out = Le32(static_cast<uint32_t>(v));
  const Bytes hi = Le32(static_cast<uint32_t>(v >> 32));
  out.insert(out.end(), hi.begin(), hi.end());
  return out;
}

// The entry ID of a folder of this store.
inline Bytes EntryId(uint32_t nid) {
  Bytes id = {0, 0, 0, 0, 0x1B, 0x55, 0xFA, 0x20, 0xAA, 0x66, 0x11, 0xCD,
              0x9B, 0xC8, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A};
  const Bytes n = Le32(nid);
  id.insert(id.end(), n.begin(), n.end());
  return id;
}

// Opens a written file and fails the test on any violation or warning.
inline vread::Mailbox OpenChecked(const std::string& path) {
  vread::Mailbox box = vread::Mailbox::open(path);
  EXPECT_EQ(box.loadError(), "");
  for (const auto& v : box.violations()) {
    ADD_FAILURE() << "violation at " << v.offset << ": " << v.message;
  }
  for (const auto& w : box.warnings()) {
    ADD_FAILURE() << "warning at " << w.offset << " (" << w.size << " bytes): " << w.message;
  }
  EXPECT_EQ(box.status(), vread::FileStatus::Complete);
  return box;
}

// The property tags of a context, ascending.
inline std::vector<uint32_t> Tags(const vread::PropertyContext& pc) {
  std::vector<uint32_t> tags;
  for (const auto& kv : pc.all()) tags.push_back(kv.first);
  return tags;
}

inline Bytes Value(const vread::PropertyContext& pc, uint32_t tag) {
  const vread::PropValue* v = pc.find(tag);
  return v == nullptr ? Bytes{0xDE, 0xAD} : v->bytes;
}

// Decoded payloads of the record blocks that start with `magic`.
inline std::vector<Bytes> RecordBlocks(const vread::Mailbox& box,
                                       const std::string& magic) {
  std::vector<Bytes> found;
  for (const auto& b : box.unreferencedBlocks()) {
    auto payload = box.blockPayload(b.bid);
    if (payload && payload->size() >= 4 &&
        std::string(payload->begin(), payload->begin() + 4) == magic) {
      found.push_back(*payload);
    }
  }
  return found;
}

}  // namespace apitest
