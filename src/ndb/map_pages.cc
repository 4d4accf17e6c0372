#include "ndb/map_pages.h"

#include <algorithm>

#include "ndb/page_trailer.h"

namespace virel {
namespace ndb {
namespace {

constexpr uint8_t kFullMapByte = 0xFF;
constexpr size_t kDListEntryCount = 1;
constexpr size_t kDListFirstEntry = 4;

void AppendPage(Bytes* out, const Bytes& data, uint8_t ptype, uint64_t ib) {
  uint8_t page[kPageSize] = {};
  std::copy(data.begin(), data.end(), page);
  WritePageTrailer(page, ptype, 0, ib);
  out->insert(out->end(), page, page + kPageSize);
}

constexpr size_t kBitsPerByte = 8;
constexpr size_t kFixedMapPages = 3;  // PMap, FMap, density list

// Pages for a bitmap whose bytes up to `used` (exclusive) hold set bits.
size_t AMapPageCountFor(size_t used) {
  return used == 0 ? 1 : (used - 1) / kPageDataSize + 1;
}

size_t AMapPageCount(const Bytes& bits) {
  size_t last = bits.size();
  while (last > 0 && bits[last - 1] == 0) --last;
  return AMapPageCountFor(last);
}

Bytes DensityListData(uint64_t start) {
  Bytes data(kPageDataSize, 0);
  data[1] = kDListEntryCount;
  EncodeFixed32(&data[kDListFirstEntry], static_cast<uint32_t>(start));
  return data;
}

}  // namespace

uint64_t MapPagesSize(uint64_t end) {
  const size_t used =
      end == 0 ? 0 : static_cast<size_t>((end - 1) / kUnitSize / kBitsPerByte + 1);
  return (AMapPageCountFor(used) + kFixedMapPages) * kPageSize;
}

Bytes BuildMapPages(const UnitBitmap& bitmap, uint64_t start) {
  const Bytes& bits = bitmap.bytes();
  const size_t amap_pages = AMapPageCount(bits);
  Bytes out;
  uint64_t ib = start;
  for (size_t k = 0; k < amap_pages; ++k) {
    const size_t from = std::min(bits.size(), k * kPageDataSize);
    const size_t to = std::min(bits.size(), from + kPageDataSize);
    AppendPage(&out, Bytes(bits.begin() + from, bits.begin() + to),
               kPageTypeAMap, ib);
    ib += kPageSize;
    if (k == 0) {
      const Bytes full(kPageDataSize, kFullMapByte);
      AppendPage(&out, full, kPageTypePMap, ib);
      AppendPage(&out, full, kPageTypeFMap, ib + kPageSize);
      AppendPage(&out, DensityListData(start), kPageTypeDList, ib + 2 * kPageSize);
      ib += 3 * kPageSize;
    }
  }
  return out;
}

}  // namespace ndb
}  // namespace virel
