#include "image_builder.h"

#include <algorithm>
#include <tuple>

#include "permutation.h"

namespace testimg {

Bytes u16le(const std::string& ascii) {
  Bytes b;
  for (char c : ascii) b.insert(b.end(), {static_cast<std::uint8_t>(c), 0});
  return b;
}
void put16(Bytes& b, std::size_t at, std::uint16_t v) {
  b[at] = static_cast<std::uint8_t>(v);
  b[at + 1] = static_cast<std::uint8_t>(v >> 8);
}
void put32(Bytes& b, std::size_t at, std::uint32_t v) {
  put16(b, at, static_cast<std::uint16_t>(v));
  put16(b, at + 2, static_cast<std::uint16_t>(v >> 16));
}
void put64(Bytes& b, std::size_t at, std::uint64_t v) {
  put32(b, at, static_cast<std::uint32_t>(v));
  put32(b, at + 4, static_cast<std::uint32_t>(v >> 32));
}
Bytes le32b(std::uint32_t v) { Bytes b(4); put32(b, 0, v); return b; }
Bytes le64b(std::uint64_t v) { Bytes b(8); put64(b, 0, v); return b; }

std::uint32_t crc(const std::uint8_t* p, std::size_t n) {  // bitwise, independent of the reader's table
  std::uint32_t c = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < n; ++i) {
    c ^= p[i];
    for (int k = 0; k < 8; ++k) c = (c & 1) ? 0xEDB88320u ^ (c >> 1) : c >> 1;
  }
  return ~c;
}

Bytes heap(std::uint8_t clientSig, std::uint32_t userRoot, const std::vector<Bytes>& allocations) {
  Bytes b(12, 0);
  std::vector<std::uint16_t> offsets{12};
  for (const auto& a : allocations) {
    b.insert(b.end(), a.begin(), a.end());
    offsets.push_back(static_cast<std::uint16_t>(b.size()));
  }
  std::size_t map = b.size();
  b.resize(map + 4 + 2 * offsets.size(), 0);
  put16(b, 0, static_cast<std::uint16_t>(map));
  b[2] = 0xEC;
  b[3] = clientSig;
  put32(b, 4, userRoot);
  put16(b, map, static_cast<std::uint16_t>(allocations.size()));
  for (std::size_t i = 0; i < offsets.size(); ++i) put16(b, map + 4 + 2 * i, offsets[i]);
  return b;
}

Bytes pcHeap(const Props& props) {
  std::vector<Bytes> allocs;
  Bytes records;
  for (const auto& [tag, value] : props) {
    std::uint32_t hnid = 0;
    if (value.size() > 4) {
      allocs.push_back(value);
      hnid = static_cast<std::uint32_t>(allocs.size()) << 5;
    } else {
      for (std::size_t i = 0; i < value.size(); ++i) hnid |= static_cast<std::uint32_t>(value[i]) << (8 * i);
    }
    Bytes r(8);
    put16(r, 0, static_cast<std::uint16_t>(tag >> 16));
    put16(r, 2, static_cast<std::uint16_t>(tag));
    put32(r, 4, hnid);
    records.insert(records.end(), r.begin(), r.end());
  }
  std::uint32_t root = 0;
  if (!records.empty()) {
    allocs.push_back(records);
    root = static_cast<std::uint32_t>(allocs.size()) << 5;
  }
  Bytes header{0xB5, 2, 6, 0, 0, 0, 0, 0};
  put32(header, 4, root);
  allocs.push_back(header);
  return heap(0xBC, static_cast<std::uint32_t>(allocs.size()) << 5, allocs);
}

namespace {

std::uint8_t width(std::uint32_t tag) {
  std::uint16_t t = tag & 0xFFFF;
  if (t == 0x0002 || t == 0x000B) return 2;
  if (t == 0x0040 || t == 0x0014 || t == 0x0005) return 8;
  return 4;
}
bool variable(std::uint32_t tag) { return (tag & 0xFFFF) == 0x001F || (tag & 0xFFFF) == 0x0102; }

}  // namespace

Bytes tcHeap(const std::vector<std::uint32_t>& columns, const std::vector<TableRow>& rows) {
  std::vector<std::uint32_t> order;  // wide columns, then 2-byte ones
  for (auto c : columns) if (width(c) >= 4) order.push_back(c);
  for (auto c : columns) if (width(c) == 2) order.push_back(c);
  std::map<std::uint32_t, std::pair<std::uint16_t, std::uint8_t>> place;  // ibData, iBit
  std::uint16_t off = 0, wide = 0;
  for (std::size_t i = 0; i < order.size(); ++i) {
    place[order[i]] = {off, static_cast<std::uint8_t>(i)};
    off = static_cast<std::uint16_t>(off + width(order[i]));
    if (width(order[i]) >= 4) wide = off;
  }
  std::size_t rowSize = off + (columns.size() + 7) / 8;
  std::vector<Bytes> allocs;
  Bytes matrix;
  for (const auto& [id, cells] : rows) {
    Bytes row(rowSize, 0);
    for (const auto& [tag, value] : cells) {
      Bytes cell = value;
      if (variable(tag)) {
        allocs.push_back(value);
        cell = le32b(static_cast<std::uint32_t>(allocs.size()) << 5);
      }
      std::copy(cell.begin(), cell.begin() + std::min<std::size_t>(cell.size(), width(tag)),
                row.begin() + place[tag].first);
      row[off + place[tag].second / 8] |= static_cast<std::uint8_t>(0x80 >> (place[tag].second % 8));
    }
    matrix.insert(matrix.end(), row.begin(), row.end());
  }
  std::uint32_t rowsHid = 0, indexHid = 0;
  if (!rows.empty()) {
    allocs.push_back(matrix);
    rowsHid = static_cast<std::uint32_t>(allocs.size()) << 5;
    std::vector<std::uint32_t> ids;
    for (const auto& r : rows) ids.push_back(r.first);
    std::sort(ids.begin(), ids.end());
    Bytes leaves;
    for (std::size_t k = 0; k < ids.size(); ++k) {
      Bytes e = le32b(ids[k]);
      Bytes idx = le32b(static_cast<std::uint32_t>(k));
      leaves.insert(leaves.end(), e.begin(), e.end());
      leaves.insert(leaves.end(), idx.begin(), idx.end());
    }
    allocs.push_back(leaves);
    Bytes header{0xB5, 4, 4, 0, 0, 0, 0, 0};
    put32(header, 4, static_cast<std::uint32_t>(allocs.size()) << 5);
    allocs.push_back(header);
    indexHid = static_cast<std::uint32_t>(allocs.size()) << 5;
  }
  Bytes info(22 + 8 * columns.size(), 0);
  info[0] = 0x7C;
  info[1] = static_cast<std::uint8_t>(columns.size());
  put16(info, 2, wide);
  put16(info, 4, off);
  put16(info, 6, off);
  put16(info, 8, static_cast<std::uint16_t>(rowSize));
  put32(info, 10, indexHid);
  put32(info, 14, rowsHid);
  std::vector<std::uint32_t> sorted = columns;
  std::sort(sorted.begin(), sorted.end());
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    put32(info, 22 + 8 * i, sorted[i]);
    put16(info, 26 + 8 * i, place[sorted[i]].first);
    info[28 + 8 * i] = width(sorted[i]);
    info[29 + 8 * i] = place[sorted[i]].second;
  }
  allocs.push_back(info);
  return heap(0x7C, static_cast<std::uint32_t>(allocs.size()) << 5, allocs);
}

ImageBuilder::ImageBuilder() : image_(0x6400, 0) {}

std::uint64_t ImageBuilder::addBlock(Bytes payload, bool internal) {
  std::uint64_t bid = nextBid(internal);
  std::uint64_t ib = image_.size();
  std::size_t cb = payload.size();
  std::size_t body = (cb + 63) & ~std::size_t{63};
  std::uint32_t sum = crc(payload.data(), cb);
  if (!internal) vread::encodePayload(payload);
  payload.resize(body + 16, 0);
  put16(payload, body, static_cast<std::uint16_t>(cb));
  put16(payload, body + 2, static_cast<std::uint16_t>((ib ^ bid) & 0xFFFF));
  put32(payload, body + 4, sum);
  put64(payload, body + 8, bid);
  image_.insert(image_.end(), payload.begin(), payload.end());
  blocks_[bid] = {ib, static_cast<std::uint16_t>(cb)};
  return bid;
}

std::uint64_t ImageBuilder::addUnlistedBlock(Bytes payload) {
  std::uint64_t ib = image_.size();
  blocks_.erase(addBlock(std::move(payload), false));
  return ib;
}

std::uint64_t ImageBuilder::addData(const Bytes& data) {
  constexpr std::size_t kChunk = 8176;
  if (data.size() <= kChunk) return addBlock(data, false);
  Bytes x(8, 0);
  x[0] = 0x01;
  x[1] = 0x01;
  put32(x, 4, static_cast<std::uint32_t>(data.size()));
  std::uint16_t count = 0;
  for (std::size_t pos = 0; pos < data.size(); pos += kChunk, ++count) {
    Bytes chunk(data.begin() + static_cast<std::ptrdiff_t>(pos),
                data.begin() + static_cast<std::ptrdiff_t>(std::min(data.size(), pos + kChunk)));
    Bytes ref = le64b(addBlock(chunk, false));
    x.insert(x.end(), ref.begin(), ref.end());
  }
  put16(x, 2, count);
  return addBlock(x, true);
}

std::uint64_t ImageBuilder::addSubnodes(const std::vector<std::array<std::uint64_t, 3>>& entries) {
  Bytes sl(8 + 24 * entries.size(), 0);
  sl[0] = 0x02;
  put16(sl, 2, static_cast<std::uint16_t>(entries.size()));
  for (std::size_t i = 0; i < entries.size(); ++i)
    for (std::size_t k = 0; k < 3; ++k) put64(sl, 8 + 24 * i + 8 * k, entries[i][k]);
  return addBlock(sl, true);
}

std::uint64_t ImageBuilder::addEntryOnly(std::uint64_t ib, std::uint16_t cb, bool internal) {
  std::uint64_t bid = nextBid(internal);
  blocks_[bid] = {ib, cb};
  return bid;
}

void ImageBuilder::addNode(std::uint32_t nid, std::uint64_t bidData, std::uint64_t bidSub, std::uint32_t parent) {
  nodes_[nid] = {bidData, bidSub, parent};
}

std::uint64_t ImageBuilder::appendPage(Bytes page, std::uint8_t ptype, std::uint64_t bid) {
  std::uint64_t ib = image_.size();
  page.resize(512, 0);
  page[496] = page[497] = ptype;
  put16(page, 498, static_cast<std::uint16_t>((ib ^ bid) & 0xFFFF));
  put32(page, 500, crc(page.data(), 496));
  put64(page, 504, bid);
  image_.insert(image_.end(), page.begin(), page.end());
  return ib;
}

void ImageBuilder::writeMapPages() {
  Bytes amap(496, 0);
  for (std::size_t unit = 0; unit < 50; ++unit) amap[unit / 8] |= static_cast<std::uint8_t>(1u << (unit % 8));
  Bytes full(496, 0xFF), dlist(496, 0);
  dlist[1] = 1;
  put32(dlist, 4, 17408);
  const std::pair<std::uint8_t, Bytes*> pages[] = {{0x84, &amap}, {0x83, &full}, {0x82, &full}, {0x86, &dlist}};
  std::uint64_t at = 17408;
  for (const auto& [ptype, data] : pages) {
    Bytes page = *data;
    page.resize(512, 0);
    page[496] = page[497] = ptype;
    put32(page, 500, crc(page.data(), 496));
    put64(page, 504, at);
    std::copy(page.begin(), page.end(), image_.begin() + static_cast<std::ptrdiff_t>(at));
    at += 512;
  }
}

std::pair<std::uint64_t, std::uint64_t> ImageBuilder::writeTree(const std::vector<Bytes>& entries, std::uint8_t cbEnt,
                                                                std::uint8_t ptype, std::size_t perPage) {
  std::vector<std::array<std::uint64_t, 3>> leaves;  // key, bid, ib
  for (std::size_t first = 0; first == 0 || first < entries.size(); first += perPage) {
    Bytes page(512, 0);
    std::size_t n = std::min(perPage, entries.size() - first);
    for (std::size_t i = 0; i < n; ++i) std::copy(entries[first + i].begin(), entries[first + i].end(),
                                                  page.begin() + static_cast<std::ptrdiff_t>(i * cbEnt));
    page[488] = static_cast<std::uint8_t>(n);
    page[489] = static_cast<std::uint8_t>(488 / cbEnt);
    page[490] = cbEnt;
    std::uint64_t bid = nextBid(true);
    std::uint64_t key = n ? entries[first][0] | (std::uint64_t{entries[first][1]} << 8) |
                                (std::uint64_t{entries[first][2]} << 16) | (std::uint64_t{entries[first][3]} << 24)
                          : 0;
    leaves.push_back({key, bid, appendPage(page, ptype, bid)});
  }
  if (leaves.size() == 1) return {leaves[0][1], leaves[0][2]};
  Bytes root(512, 0);
  for (std::size_t i = 0; i < leaves.size(); ++i)
    for (std::size_t k = 0; k < 3; ++k) put64(root, 24 * i + 8 * k, leaves[i][k]);
  root[488] = static_cast<std::uint8_t>(leaves.size());
  root[489] = 20;
  root[490] = 24;
  root[491] = 1;
  std::uint64_t bid = nextBid(true);
  return {bid, appendPage(root, ptype, bid)};
}

Bytes ImageBuilder::finish(std::uint32_t messages, std::uint32_t events, bool stalePages) {
  writeMapPages();
  std::vector<Bytes> nbt;
  for (const auto& [nid, n] : nodes_) {
    Bytes e(32, 0);
    put32(e, 0, nid);
    put64(e, 8, n[0]);
    put64(e, 16, n[1]);
    put32(e, 24, static_cast<std::uint32_t>(n[2]));
    nbt.push_back(e);
  }
  std::uint64_t firstPage = image_.size();
  if (stalePages) {
    staleIb = firstPage;
    writeTree(nbt, 32, 0x81, 15);
  }
  std::tie(nbtBid_, nbtIb) = writeTree(nbt, 32, 0x81, 15);
  for (std::uint64_t ib = firstPage; ib < image_.size(); ib += 512)
    blocks_[image_[ib + 504] | (std::uint64_t{image_[ib + 505]} << 8)] = {ib, 496};
  std::vector<Bytes> bbt;
  for (const auto& [bid, b] : blocks_) {
    Bytes e(24, 0);
    put64(e, 0, bid);
    put64(e, 8, b.first);
    put16(e, 16, b.second);
    put16(e, 18, 1);
    bbt.push_back(e);
  }
  std::tie(bbtBid_, bbtIb) = writeTree(bbt, 24, 0x80, 20);
  Bytes record(64, 0);
  put32(record, 0, messages);
  put32(record, 4, events);
  recordIb = image_.size();
  addBlock(record, false);
  writeHeader();
  return image_;
}

void ImageBuilder::writeHeader() {
  Bytes h(512, 0);
  const std::uint32_t nids[] = {0x21, 0x61, 0x122, 0x162, 0x1A2, 0x202, 0x242, 0x282,
                                0x2C2, 0x302, 0x342, 0x382, 0x3C2, 0x402, 0x442};
  std::copy_n("!BDP", 4, h.begin());
  put16(h, 8, 0x534D);
  put16(h, 10, 23);
  put16(h, 12, 19);
  h[14] = h[15] = 1;
  put64(h, 32, 512);
  put32(h, 40, 1);
  for (std::size_t k = 0; k < 15; ++k) put32(h, 44 + 4 * k, nids[k]);
  h[348] = 0x80;
  h[349] = 1;
  put32(h, 4, crc(h.data() + 8, 471));  // the fresh header's checksums
  put32(h, 400, crc(h.data(), 512));
  put64(h, 184, image_.size());
  put64(h, 192, 17408);
  put64(h, 216, nbtBid_);
  put64(h, 224, nbtIb);
  put64(h, 232, bbtBid_);
  put64(h, 240, bbtIb);
  h[248] = 1;
  put32(h, 4, crc(h.data() + 8, 471));
  put32(h, 400, 0);
  put32(h, 400, crc(h.data(), 512));
  std::copy(h.begin(), h.end(), image_.begin());
  image_.resize(std::max<std::size_t>(image_.size(), 262144), 0);
}

}  // namespace testimg
