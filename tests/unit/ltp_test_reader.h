// A small reader for heaps, B-trees-on-heap, property contexts and table
// contexts, written apart from the builders so tests can check their output
// field by field.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace ltp_test {

using Buffer = std::vector<uint8_t>;

inline uint16_t Read16(const Buffer& b, size_t off) {
  return static_cast<uint16_t>(b.at(off) | (b.at(off + 1) << 8));
}

inline uint32_t Read32(const Buffer& b, size_t off) {
  return static_cast<uint32_t>(Read16(b, off)) |
         (static_cast<uint32_t>(Read16(b, off + 2)) << 16);
}

// UTF-16LE bytes as code units.
inline std::vector<uint16_t> CodeUnits(const Buffer& b) {
  std::vector<uint16_t> units;
  for (size_t i = 0; i + 1 < b.size(); i += 2) units.push_back(Read16(b, i));
  return units;
}

struct HeapView {
  uint16_t ib_hnpm = 0;
  uint8_t sig = 0;
  uint8_t client_sig = 0;
  uint32_t user_root = 0;
  uint32_t fill_level = 0;
  uint16_t c_alloc = 0;
  uint16_t c_free = 0;
  std::vector<uint16_t> rgib;
  std::map<uint32_t, Buffer> items;  // keyed by HID

  const Buffer& Item(uint32_t hid) const {
    static const Buffer kMissing;
    auto it = items.find(hid);
    if (it == items.end()) {
      ADD_FAILURE() << "no heap item with HID 0x" << std::hex << hid;
      return kMissing;
    }
    return it->second;
  }
};

// Checks the page map against the buffer size and collects the items.
inline ::testing::AssertionResult ParseHeap(const Buffer& b, HeapView* h) {
  if (b.size() < 16) return ::testing::AssertionFailure() << "too short";
  h->ib_hnpm = Read16(b, 0);
  h->sig = b[2];
  h->client_sig = b[3];
  h->user_root = Read32(b, 4);
  h->fill_level = Read32(b, 8);
  if (static_cast<size_t>(h->ib_hnpm) + 4 > b.size()) {
    return ::testing::AssertionFailure() << "page map out of range";
  }
  h->c_alloc = Read16(b, h->ib_hnpm);
  h->c_free = Read16(b, h->ib_hnpm + 2);
  const size_t expected = h->ib_hnpm + 2u * (h->c_alloc + 3u);
  if (b.size() != expected) {
    return ::testing::AssertionFailure()
           << "size " << b.size() << ", page map implies " << expected;
  }
  h->rgib.clear();
  h->items.clear();
  for (size_t i = 0; i <= h->c_alloc; ++i) {
    h->rgib.push_back(Read16(b, h->ib_hnpm + 4 + 2 * i));
  }
  if (h->rgib.front() != 12 || h->rgib.back() != h->ib_hnpm) {
    return ::testing::AssertionFailure() << "bad first or last offset";
  }
  for (size_t i = 0; i < h->c_alloc; ++i) {
    if (h->rgib[i + 1] < h->rgib[i]) {
      return ::testing::AssertionFailure() << "offsets not ascending";
    }
    const uint32_t hid = static_cast<uint32_t>((i + 1) << 5);
    h->items[hid] = Buffer(b.begin() + h->rgib[i], b.begin() + h->rgib[i + 1]);
  }
  return ::testing::AssertionSuccess();
}

struct BthView {
  uint8_t type = 0;
  uint8_t cb_key = 0;
  uint8_t cb_ent = 0;
  uint8_t levels = 0;
  uint32_t hid_root = 0;
  std::vector<std::pair<uint32_t, Buffer>> records;  // key, data
};

inline ::testing::AssertionResult ParseBth(const HeapView& heap, uint32_t hid,
                                           BthView* t) {
  const Buffer& hdr = heap.Item(hid);
  if (hdr.size() != 8) return ::testing::AssertionFailure() << "header size";
  t->type = hdr[0];
  t->cb_key = hdr[1];
  t->cb_ent = hdr[2];
  t->levels = hdr[3];
  t->hid_root = Read32(hdr, 4);
  t->records.clear();
  if (t->hid_root == 0) return ::testing::AssertionSuccess();
  const Buffer& leaves = heap.Item(t->hid_root);
  const size_t width = t->cb_key + t->cb_ent;
  if (width == 0 || leaves.size() % width != 0) {
    return ::testing::AssertionFailure() << "leaf array size";
  }
  for (size_t off = 0; off < leaves.size(); off += width) {
    const uint32_t key = t->cb_key == 2 ? Read16(leaves, off)
                                        : Read32(leaves, off);
    t->records.emplace_back(
        key, Buffer(leaves.begin() + off + t->cb_key,
                    leaves.begin() + off + width));
  }
  return ::testing::AssertionSuccess();
}

struct PcRecord {
  uint16_t prop_id;
  uint16_t prop_type;
  uint32_t value_hnid;
};

inline std::vector<PcRecord> PcRecords(const BthView& t) {
  std::vector<PcRecord> out;
  for (const auto& r : t.records) {
    out.push_back({static_cast<uint16_t>(r.first), Read16(r.second, 0),
                   Read32(r.second, 2)});
  }
  return out;
}

struct ColumnView {
  uint32_t tag;
  uint16_t ib_data;
  uint8_t cb_data;
  uint8_t i_bit;
};

struct TcInfoView {
  uint8_t type = 0;
  uint8_t c_cols = 0;
  uint16_t rgib[4] = {0, 0, 0, 0};
  uint32_t hid_row_index = 0;
  uint32_t hnid_rows = 0;
  uint32_t hid_index = 0;
  std::vector<ColumnView> columns;

  const ColumnView* Column(uint32_t tag) const {
    for (const auto& c : columns) {
      if (c.tag == tag) return &c;
    }
    return nullptr;
  }
  // Whether the cell-existence bit of a column is set in a row.
  bool CellExists(const Buffer& row, const ColumnView& c) const {
    return (row.at(rgib[2] + c.i_bit / 8) & (0x80 >> (c.i_bit % 8))) != 0;
  }
};

inline ::testing::AssertionResult ParseTcInfo(const Buffer& b, TcInfoView* t) {
  if (b.size() < 22) return ::testing::AssertionFailure() << "too short";
  t->type = b[0];
  t->c_cols = b[1];
  for (int i = 0; i < 4; ++i) t->rgib[i] = Read16(b, 2 + 2 * i);
  t->hid_row_index = Read32(b, 10);
  t->hnid_rows = Read32(b, 14);
  t->hid_index = Read32(b, 18);
  if (b.size() != 22 + 8u * t->c_cols) {
    return ::testing::AssertionFailure() << "size does not match cCols";
  }
  t->columns.clear();
  for (size_t off = 22; off < b.size(); off += 8) {
    t->columns.push_back({Read32(b, off), Read16(b, off + 4), b[off + 6],
                          b[off + 7]});
  }
  return ::testing::AssertionSuccess();
}

}  // namespace ltp_test
