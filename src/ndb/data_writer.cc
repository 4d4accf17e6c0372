#include "ndb/data_writer.h"

#include <algorithm>
#include <vector>

#include "ndb/block.h"

namespace virel {
namespace ndb {
namespace {

constexpr uint8_t kBlockTypeX = 0x01;
constexpr uint8_t kXBlockLevel = 1;
constexpr uint8_t kXXBlockLevel = 2;

Bytes XBlockPayload(uint8_t level, const std::vector<uint64_t>& bids,
                    uint64_t total) {
  Bytes out;
  PutFixed8(&out, kBlockTypeX);
  PutFixed8(&out, level);
  PutFixed16(&out, static_cast<uint16_t>(bids.size()));
  PutFixed32(&out, static_cast<uint32_t>(total));
  for (uint64_t bid : bids) PutFixed64(&out, bid);
  return out;
}

}  // namespace

Bref DataWriter::Place(size_t size, bool internal) {
  const uint64_t bid = registry_->NextBid(internal);
  written_bytes_ += BlockSize(size);
  if (counting()) return {bid, 0};
  const uint64_t handle = allocator_->Allocate(BlockSize(size), kBlockAlignment);
  return {bid, allocator_->OffsetOf(handle)};
}

Bref DataWriter::Register(const Bref& at, size_t size) {
  registry_->RegisterBlock(at.bid, at.ib, size);
  return at;
}

Bref DataWriter::Store(const Bref& at, BlockBuilder::Image image, size_t size) {
  store_->WriteAt(at.ib, image.data, image.size);
  return Register(at, size);
}

Bref DataWriter::WriteBlock(const uint8_t* payload, size_t size, bool internal,
                            bool encode) {
  const Bref at = Place(size, internal);
  if (counting()) return Register(at, size);
  return Store(at, builder_.Build(payload, size, at.bid, at.ib, encode), size);
}

Bref DataWriter::WriteBlock(size_t size, bool internal, bool encode,
                            const std::function<void(uint8_t*)>& fill) {
  const Bref at = Place(size, internal);
  if (counting()) return Register(at, size);
  fill(builder_.Start(size));
  return Store(at, builder_.Finish(at.bid, at.ib, encode), size);
}

uint64_t DataWriter::WriteData(const Bytes& data, bool internal) {
  if (data.size() <= kMaxBlockPayload) {
    return WriteBlock(data, internal, !internal).bid;
  }
  return WriteTree(data);
}

uint64_t DataWriter::WriteTree(const Bytes& data) {
  std::vector<uint64_t> chunks;
  for (size_t from = 0; from < data.size(); from += kMaxBlockPayload) {
    const size_t to = std::min(data.size(), from + kMaxBlockPayload);
    chunks.push_back(WriteBlock(data.data() + from, to - from, false, true).bid);
  }
  if (chunks.size() <= kMaxXBlockEntries) {
    return WriteData(XBlockPayload(kXBlockLevel, chunks, data.size()), true);
  }
  std::vector<uint64_t> xblocks;
  const uint64_t group_bytes = uint64_t{kMaxXBlockEntries} * kMaxBlockPayload;
  for (size_t from = 0; from < chunks.size(); from += kMaxXBlockEntries) {
    const size_t to = std::min(chunks.size(), from + kMaxXBlockEntries);
    const uint64_t first_byte = (from / kMaxXBlockEntries) * group_bytes;
    const uint64_t bytes = std::min<uint64_t>(group_bytes,
                                              data.size() - first_byte);
    const std::vector<uint64_t> group(chunks.begin() + from,
                                      chunks.begin() + to);
    xblocks.push_back(WriteData(XBlockPayload(kXBlockLevel, group, bytes), true));
  }
  return WriteData(XBlockPayload(kXXBlockLevel, xblocks, data.size()), true);
}

}  // namespace ndb
}  // namespace virel
