#include "bth.h"

#include "layout.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint64_t kIndexHidSize = 4;
constexpr int kMaxIndexLevels = 8;

class BthReader {
 public:
  BthReader(const Heap& heap, std::uint8_t cbKey, std::uint8_t cbEnt, bool allowEqual, Bth& out, ViolationLog& log)
      : heap_(heap), cbKey_(cbKey), cbEnt_(cbEnt), allowEqual_(allowEqual), out_(out), log_(log) {}

  bool readLevel(std::uint32_t hid, int level) {
    out_.structureHids.insert(hid);
    auto node = heap_.item(hid);
    if (!node) {
      log_.add(heap_.fileOffset(0), "BTH refers to missing allocation " + hex(hid));
      return false;
    }
    std::uint64_t size = level == 0 ? cbKey_ + cbEnt_ : cbKey_ + kIndexHidSize;
    if (node->size() % size != 0) {
      log_.add(heap_.fileOffset(hid), "BTH allocation of " + std::to_string(node->size()) +
                                          " bytes is not a whole number of " + std::to_string(size) + "-byte records");
      return false;
    }
    for (std::size_t pos = 0; pos < node->size(); pos += size) {
      const std::uint8_t* r = node->data() + pos;
      if (level == 0)
        addRecord(r, heap_.fileOffset(hid) + pos);
      else if (!readLevel(le32(r + cbKey_), level - 1))
        return false;
    }
    return true;
  }

 private:
  void addRecord(const std::uint8_t* r, std::uint64_t offset) {
    BthRecord rec{Bytes(r, r + cbKey_), Bytes(r + cbKey_, r + cbKey_ + cbEnt_), offset};
    if (!out_.records.empty() && !keyLess(out_.records.back().key, rec.key) &&
        !(allowEqual_ && out_.records.back().key == rec.key))
      log_.add(offset, "BTH keys are not in ascending order");
    out_.records.push_back(std::move(rec));
  }

  static bool keyLess(const Bytes& a, const Bytes& b) {
    for (std::size_t i = a.size(); i-- > 0;)  // keys are little-endian numbers
      if (a[i] != b[i]) return a[i] < b[i];
    return false;
  }

  const Heap& heap_;
  std::uint8_t cbKey_;
  std::uint8_t cbEnt_;
  bool allowEqual_;
  Bth& out_;
  ViolationLog& log_;
};

}  // namespace

std::optional<Bth> readBth(const Heap& heap, std::uint32_t headerHid, std::uint8_t cbKey, std::uint8_t cbEnt,
                           ViolationLog& log, bool allowEqualKeys) {
  auto header = heap.item(headerHid);
  if (!header || header->size() != kBthHeaderSize) {
    log.add(heap.fileOffset(headerHid), "BTH header " + hex(headerHid) + " is missing or not 8 bytes");
    return std::nullopt;
  }
  const Bytes& h = *header;
  std::uint64_t at = heap.fileOffset(headerHid);
  if (h[0] != kBthType || h[1] != cbKey || h[2] != cbEnt) {
    log.add(at, "BTH header {" + hex(h[0]) + ", cbKey " + std::to_string(h[1]) + ", cbEnt " + std::to_string(h[2]) +
                    "} differs from {0xB5, " + std::to_string(cbKey) + ", " + std::to_string(cbEnt) + "}");
    return std::nullopt;
  }
  Bth bth;
  bth.headerHid = headerHid;
  bth.rootHid = le32(h.data() + 4);
  bth.structureHids.insert(headerHid);
  if (h[3] > kMaxIndexLevels) {
    log.add(at + 3, "BTH has " + std::to_string(h[3]) + " index levels");
    return std::nullopt;
  }
  if (bth.rootHid == 0) return bth;
  BthReader reader(heap, cbKey, cbEnt, allowEqualKeys, bth, log);
  if (!reader.readLevel(bth.rootHid, h[3])) return std::nullopt;
  return bth;
}

}  // namespace vread
