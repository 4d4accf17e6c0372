// Block payloads: trailer checks, decoding, lookups by BID and by offset.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "btree.h"
#include "file_image.h"
#include "violations.h"

namespace vread {

struct BlockPayload {
  std::uint64_t bid = 0;
  std::uint64_t ib = 0;
  Bytes data;            // decoded payload
  bool encoded = false;  // the bytes on disk were permuted
  bool crcOk = false;
};

class BlockStore {
 public:
  BlockStore(const FileImage& file, const std::vector<BlockEntry>& blocks);

  const BlockEntry* find(std::uint64_t bid) const;
  const std::map<std::uint64_t, BlockEntry>& all() const { return blocks_; }

  // Payload of a block listed in the BBT; logs its trailer problems the first
  // time the block is read. Nothing when the BID is not listed or the block
  // lies outside the file.
  std::optional<BlockPayload> read(std::uint64_t bid, ViolationLog& log) const;

  // The payload size of a listed block. cb keeps only the low 16 bits, so
  // a bookkeeping record longer than 65535 bytes is found by looking for
  // its own trailer 64 KiB steps further on.
  std::uint64_t payloadSize(const BlockEntry& entry) const;

  // Payload of the block that starts at `ib`, located by its own trailer,
  // whether or not the BBT lists it.
  std::optional<BlockPayload> readAt(std::uint64_t ib) const;

 private:
  std::optional<BlockPayload> readChecked(const BlockEntry& entry, ViolationLog& log) const;
  BlockPayload decode(std::uint64_t bid, std::uint64_t ib, const std::uint8_t* raw, std::uint64_t cb,
                      std::uint32_t storedCrc) const;
  void checkTrailer(const BlockEntry& entry, const std::uint8_t* trailer, ViolationLog& log) const;

  const FileImage& file_;
  std::map<std::uint64_t, BlockEntry> blocks_;
  mutable std::set<std::uint64_t> checked_;
  mutable std::map<std::uint64_t, std::uint64_t> sizes_;
};

}  // namespace vread
