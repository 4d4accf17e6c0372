#include "data_tree.h"

#include "layout.h"

namespace vread {

using namespace layout;

namespace {

constexpr int kXBlockLevel = 1;
constexpr int kXXBlockLevel = 2;
constexpr int kMaxSubnodeDepth = 8;

bool isInternal(std::uint64_t bid) { return (bid & kBidInternal) != 0; }

}  // namespace

std::uint64_t NodeBytes::fileOffset(std::size_t pos) const {
  for (const auto& s : segments)
    if (pos >= s.start && pos < s.start + s.length) return s.fileOffset + (pos - s.start);
  return segments.empty() ? 0 : segments.front().fileOffset;
}

// A block appears once in a tree: a repeat would be a cycle, or a way for
// a few bytes to stand for gigabytes.
std::optional<BlockPayload> DataTreeReader::fetch(std::uint64_t bid, std::uint64_t refOffset, const char* what) {
  reached_.insert(bid);
  if (!inTree_.insert(bid).second) {
    log_.add(refOffset, std::string(what) + " BID " + hex(bid) + " appears twice in one tree");
    return std::nullopt;
  }
  if (blocks_.find(bid) == nullptr) {
    log_.add(refOffset, std::string(what) + " BID " + hex(bid) + " is not in the BBT");
    return std::nullopt;
  }
  return blocks_.read(bid, log_);
}

std::optional<NodeBytes> DataTreeReader::readData(std::uint64_t bid, std::uint64_t refOffset) {
  inTree_.clear();
  NodeBytes out;
  if (!isInternal(bid)) {
    if (!appendChunk(bid, refOffset, out)) return std::nullopt;
    return out;
  }
  auto block = fetch(bid, refOffset, "data tree");
  if (!block) return std::nullopt;
  if (block->data.size() < kXBlockHeader || block->data[0] != kBtypeXBlock) {
    log_.add(block->ib, "internal data BID " + hex(bid) + " is not an XBLOCK or XXBLOCK");
    return std::nullopt;
  }
  int level = block->data[1];
  if (level != kXBlockLevel && level != kXXBlockLevel) {
    log_.add(block->ib + 1, "XBLOCK " + hex(bid) + " has cLevel " + std::to_string(level));
    return std::nullopt;
  }
  if (!appendXBlock(*block, level, out)) return std::nullopt;
  return out;
}

bool DataTreeReader::appendChunk(std::uint64_t bid, std::uint64_t refOffset, NodeBytes& out) {
  if (isInternal(bid)) {
    log_.add(refOffset, "data block BID " + hex(bid) + " is marked internal");
    return false;
  }
  auto block = fetch(bid, refOffset, "data block");
  if (!block) return false;
  out.segments.push_back({out.bytes.size(), block->ib, block->data.size()});
  out.bytes.insert(out.bytes.end(), block->data.begin(), block->data.end());
  return true;
}

bool DataTreeReader::appendXBlock(const BlockPayload& block, int level, NodeBytes& out) {
  const Bytes& d = block.data;
  std::string name = (level == kXBlockLevel ? "XBLOCK " : "XXBLOCK ") + hex(block.bid);
  if (block.encoded) log_.add(block.ib, name + " is encoded");
  std::uint16_t count = le16(d.data() + 2);
  std::uint32_t total = le32(d.data() + 4);
  if (kXBlockHeader + count * 8ull != d.size()) {
    log_.add(block.ib + 2, name + ": cEnt " + std::to_string(count) + " disagrees with cb " + std::to_string(d.size()));
    return false;
  }
  std::size_t before = out.bytes.size();
  for (std::uint16_t i = 0; i < count; ++i) {
    std::uint64_t child = le64(d.data() + kXBlockHeader + i * 8u);
    std::uint64_t ref = block.ib + kXBlockHeader + i * 8u;
    std::size_t start = out.bytes.size();
    if (level == kXBlockLevel) {
      if (!appendChunk(child, ref, out)) return false;
      if (i + 1 < count && out.bytes.size() - start != kMaxBlockPayload)
        log_.add(ref, name + ": chunk " + std::to_string(i) + " holds " + std::to_string(out.bytes.size() - start) +
                          " bytes, expected " + std::to_string(kMaxBlockPayload));
    } else {
      auto sub = fetch(child, ref, "XBLOCK");
      if (!sub) return false;
      if (sub->data.size() < kXBlockHeader || sub->data[0] != kBtypeXBlock || sub->data[1] != kXBlockLevel) {
        log_.add(sub->ib, name + ": child " + hex(child) + " is not an XBLOCK");
        return false;
      }
      if (!appendXBlock(*sub, kXBlockLevel, out)) return false;
    }
  }
  if (out.bytes.size() - before != total)
    log_.add(block.ib + 4, name + ": lcbTotal " + std::to_string(total) + ", data beneath holds " +
                               std::to_string(out.bytes.size() - before));
  return true;
}

std::optional<std::vector<SubnodeEntry>> DataTreeReader::readSubnodes(std::uint64_t bid, std::uint64_t refOffset) {
  inTree_.clear();
  std::vector<SubnodeEntry> out;
  if (!collectSubnodes(bid, refOffset, 0, out)) return std::nullopt;
  std::set<std::uint32_t> nids;
  for (const auto& e : out)
    if (!nids.insert(e.nid).second) log_.add(refOffset, "subnode NID " + hex(e.nid) + " appears twice");
  return out;
}

bool DataTreeReader::collectSubnodes(std::uint64_t bid, std::uint64_t refOffset, int depth,
                                     std::vector<SubnodeEntry>& out) {
  if (!isInternal(bid)) log_.add(refOffset, "subnode BID " + hex(bid) + " is not marked internal");
  auto block = fetch(bid, refOffset, "subnode block");
  if (!block) return false;
  const Bytes& d = block->data;
  if (d.size() < kXBlockHeader || d[0] != kBtypeSBlock || depth > kMaxSubnodeDepth) {
    log_.add(block->ib, "block " + hex(bid) + " is not an SLBLOCK or SIBLOCK");
    return false;
  }
  if (block->encoded) log_.add(block->ib, "subnode block " + hex(bid) + " is encoded");
  bool leaf = d[1] == 0;
  std::uint64_t size = leaf ? kSlEntrySize : kSiEntrySize;
  std::uint16_t count = le16(d.data() + 2);
  if (kXBlockHeader + count * size != d.size()) {
    log_.add(block->ib + 2, "subnode block " + hex(bid) + ": cEnt " + std::to_string(count) +
                                " disagrees with cb " + std::to_string(d.size()));
    return false;
  }
  for (std::uint16_t i = 0; i < count; ++i) {
    const std::uint8_t* e = d.data() + kXBlockHeader + i * size;
    if (leaf)
      out.push_back({le32(e), le64(e + 8), le64(e + 16)});
    else if (!collectSubnodes(le64(e + 8), block->ib + kXBlockHeader + i * size + 8, depth + 1, out))
      return false;
  }
  return true;
}

}  // namespace vread
