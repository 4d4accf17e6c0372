#include "block_store.h"

#include "crc32.h"
#include "layout.h"
#include "permutation.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint64_t kOffTrailerSig = 2;
constexpr std::uint64_t kOffTrailerCrc = 4;
constexpr std::uint64_t kOffTrailerBid = 8;
constexpr std::uint64_t kMaxTrailerOffset = trailerOffset(0xFFFF);
constexpr std::uint64_t kSizeWrap = 0x10000;

bool isInternal(std::uint64_t bid) { return (bid & kBidInternal) != 0; }

std::uint32_t crcOf(const Bytes& b) { return crc32(b.data(), b.size()); }

}  // namespace

BlockStore::BlockStore(const FileImage& file, const std::vector<BlockEntry>& blocks) : file_(file) {
  for (const auto& b : blocks) blocks_.emplace(b.bid, b);
}

const BlockEntry* BlockStore::find(std::uint64_t bid) const {
  auto it = blocks_.find(bid);
  return it == blocks_.end() ? nullptr : &it->second;
}

std::uint64_t BlockStore::payloadSize(const BlockEntry& e) const {
  auto cached = sizes_.find(e.bid);
  if (cached != sizes_.end()) return cached->second;
  std::uint64_t size = e.cb;
  for (std::uint64_t wrapped = e.cb + kSizeWrap; isInternal(e.bid); wrapped += kSizeWrap) {
    const std::uint8_t* t = file_.at(e.ib + trailerOffset(wrapped), kTrailerSize);
    if (t == nullptr) break;
    if (le16(t) == e.cb && le64(t + kOffTrailerBid) == e.bid &&
        le16(t + kOffTrailerSig) == signature(e.ib, e.bid)) {
      size = wrapped;
      break;
    }
  }
  sizes_[e.bid] = size;
  return size;
}

BlockPayload BlockStore::decode(std::uint64_t bid, std::uint64_t ib, const std::uint8_t* raw, std::uint64_t cb,
                                std::uint32_t storedCrc) const {
  BlockPayload out{bid, ib, Bytes(raw, raw + cb), false, false};
  // Node data (external BIDs) is always permuted; internal blocks are permuted
  // only when they are bookkeeping records, which their CRC tells apart.
  if (isInternal(bid) && crcOf(out.data) == storedCrc) {
    out.crcOk = true;
    return out;
  }
  Bytes decoded = out.data;
  decodePayload(decoded);
  if (!isInternal(bid) || crcOf(decoded) == storedCrc) {
    out.data = std::move(decoded);
    out.encoded = true;
  }
  out.crcOk = crcOf(out.data) == storedCrc;
  return out;
}

void BlockStore::checkTrailer(const BlockEntry& e, const std::uint8_t* t, ViolationLog& log) const {
  std::uint64_t at = e.ib + trailerOffset(payloadSize(e));
  std::string name = "block " + hex(e.bid);
  if (le16(t) != e.cb)
    log.add(at, name + ": trailer cb " + std::to_string(le16(t)) + ", BBT says " + std::to_string(e.cb));
  if (le16(t + kOffTrailerSig) != signature(e.ib, e.bid))
    log.add(at + kOffTrailerSig, name + ": wSig " + hex(le16(t + kOffTrailerSig)) + ", expected " +
                                     hex(signature(e.ib, e.bid)));
  if (le64(t + kOffTrailerBid) != e.bid)
    log.add(at + kOffTrailerBid, name + ": trailer bid " + hex(le64(t + kOffTrailerBid)) + " differs from the BBT");
}

std::optional<BlockPayload> BlockStore::read(std::uint64_t bid, ViolationLog& log) const {
  const BlockEntry* e = find(bid);
  if (e == nullptr) return std::nullopt;
  ViolationLog quiet;
  ViolationLog& out = checked_.insert(bid).second ? log : quiet;
  return readChecked(*e, out);
}

std::optional<BlockPayload> BlockStore::readChecked(const BlockEntry& entry, ViolationLog& log) const {
  if (isEmptyDataEntry(entry)) return BlockPayload{entry.bid, entry.ib, {}, true, true};
  const BlockEntry* e = &entry;
  std::uint64_t bid = e->bid;
  const std::uint64_t cb = payloadSize(*e);
  const std::uint8_t* raw = file_.at(e->ib, blockSpan(cb));
  if (raw == nullptr) {
    log.add(e->ib, "block " + hex(bid) + " runs past the end of the file");
    return std::nullopt;
  }
  const std::uint8_t* trailer = raw + trailerOffset(cb);
  checkTrailer(*e, trailer, log);
  std::uint32_t stored = le32(trailer + kOffTrailerCrc);
  BlockPayload payload = decode(bid, e->ib, raw, cb, stored);
  if (!payload.crcOk) {
    std::string hint = crc32(raw, cb) == stored ? " (it matches the undecoded bytes)" : "";
    log.add(e->ib + trailerOffset(cb) + kOffTrailerCrc,
            "block " + hex(bid) + ": dwCRC " + hex(stored) + " does not match the payload" + hint);
  }
  for (std::uint64_t i = cb; i < trailerOffset(cb); ++i)
    if (raw[i] != 0) {
      log.add(e->ib + i, "block " + hex(bid) + ": padding before the trailer is not zero");
      break;
    }
  return payload;
}

std::optional<BlockPayload> BlockStore::readAt(std::uint64_t ib) const {
  for (std::uint64_t k = 0; k <= kMaxTrailerOffset; k += kBlockAlign) {
    const std::uint8_t* t = file_.at(ib + k, kTrailerSize);
    if (t == nullptr) return std::nullopt;
    std::uint16_t cb = le16(t);
    std::uint64_t bid = le64(t + kOffTrailerBid);
    if (trailerOffset(cb) != k || bid == 0 || le16(t + kOffTrailerSig) != signature(ib, bid)) continue;
    return decode(bid, ib, file_.at(ib, cb), cb, le32(t + kOffTrailerCrc));
  }
  return std::nullopt;
}

}  // namespace vread
