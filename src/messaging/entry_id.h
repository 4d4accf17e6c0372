// The 24-byte entry ID that names a folder of this store.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "core/coding.h"

namespace virel {

inline constexpr uint8_t kStoreProviderUid[16] = {
    0x1B, 0x55, 0xFA, 0x20, 0xAA, 0x66, 0x11, 0xCD,
    0x9B, 0xC8, 0x00, 0xAA, 0x00, 0x2F, 0xC4, 0x5A};

// Four zero flag bytes, the provider UID, the folder's NID.
inline constexpr size_t kEntryIdSize = 24;

inline Bytes FolderEntryId(uint32_t nid) {
  Bytes id(kEntryIdSize, 0);
  std::copy(std::begin(kStoreProviderUid), std::end(kStoreProviderUid),
            id.begin() + 4);
  EncodeFixed32(&id[20], nid);
  return id;
}

}  // namespace virel
