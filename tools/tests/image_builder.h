// Builds small mailbox images byte by byte for the reader tests.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace testimg {

using Bytes = std::vector<std::uint8_t>;
using Props = std::map<std::uint32_t, Bytes>;
using TableRow = std::pair<std::uint32_t, Props>;  // row ID, cells

Bytes u16le(const std::string& ascii);  // UTF-16LE without terminator
Bytes le32b(std::uint32_t v);
Bytes le64b(std::uint64_t v);
void put16(Bytes& b, std::size_t at, std::uint16_t v);
void put32(Bytes& b, std::size_t at, std::uint32_t v);
void put64(Bytes& b, std::size_t at, std::uint64_t v);
std::uint32_t crc(const std::uint8_t* p, std::size_t n);

// Heap with the given allocations (HIDs 0x20, 0x40 ...).
Bytes heap(std::uint8_t clientSig, std::uint32_t userRoot, const std::vector<Bytes>& allocations);
// Property context: long values, then the record array, then the BTH header.
Bytes pcHeap(const Props& props);
// Table context with `columns` (in the given order), rows kept in the given order.
Bytes tcHeap(const std::vector<std::uint32_t>& columns, const std::vector<TableRow>& rows);

class ImageBuilder {
 public:
  ImageBuilder();
  std::uint64_t addBlock(Bytes payload, bool internal);
  std::uint64_t addData(const Bytes& data);  // one block, or an XBLOCK over 8176-byte chunks
  std::uint64_t addSubnodes(const std::vector<std::array<std::uint64_t, 3>>& entries);
  // A BBT entry with no block behind it, as an attachment without data gets.
  std::uint64_t addEntryOnly(std::uint64_t ib, std::uint16_t cb, bool internal);
  void addNode(std::uint32_t nid, std::uint64_t bidData, std::uint64_t bidSub, std::uint32_t parent);
  // Space the BBT will not list: raw bytes, or a whole block left out of it.
  void appendUnlisted(const Bytes& raw) { image_.insert(image_.end(), raw.begin(), raw.end()); }
  std::uint64_t addUnlistedBlock(Bytes payload);
  std::uint64_t size() const { return image_.size(); }
  // Writes map pages, both B-trees, the record block and the final header.
  // `stalePages`: the node B-tree's pages are written twice, both listed in
  // the BBT, as a retried close leaves them.
  Bytes finish(std::uint32_t messages, std::uint32_t events, bool stalePages = false);

  std::uint64_t ibOf(std::uint64_t bid) const { return blocks_.at(bid).first; }
  std::uint64_t nbtIb = 0;
  std::uint64_t bbtIb = 0;
  std::uint64_t recordIb = 0;
  std::uint64_t staleIb = 0;  // the first stale page

 private:
  std::uint64_t nextBid(bool internal) { return (next_++ << 2) | (internal ? 2u : 0u); }
  std::uint64_t appendPage(Bytes page, std::uint8_t ptype, std::uint64_t bid);
  void writeMapPages();
  // Leaf pages (and a root above them when needed); returns the root's bid and ib.
  std::pair<std::uint64_t, std::uint64_t> writeTree(const std::vector<Bytes>& entries, std::uint8_t cbEnt,
                                                    std::uint8_t ptype, std::size_t perPage);
  void writeHeader();

  Bytes image_;
  std::uint64_t next_ = 1;
  std::map<std::uint64_t, std::pair<std::uint64_t, std::uint16_t>> blocks_;  // bid -> ib, cb
  std::map<std::uint32_t, std::array<std::uint64_t, 3>> nodes_;           // nid -> data, sub, parent
  std::uint64_t nbtBid_ = 0, bbtBid_ = 0;
};

}  // namespace testimg
