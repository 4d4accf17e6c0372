#include "heap.h"

#include "layout.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint32_t kHidTypeMask = 0x1F;
constexpr unsigned kHidIndexShift = 5;
constexpr std::uint32_t kHidIndexMask = 0x7FF;
constexpr unsigned kHidBlockShift = 16;
constexpr std::uint64_t kOffSig = 2;
constexpr std::uint64_t kOffClientSig = 3;
constexpr std::uint64_t kOffUserRoot = 4;
constexpr std::uint64_t kPageMapHeader = 4;  // cAlloc, cFree

std::size_t hidIndex(std::uint32_t hid) { return (hid >> kHidIndexShift) & kHidIndexMask; }

}  // namespace

std::optional<Heap> Heap::parse(NodeBytes data, ViolationLog& log) {
  Heap heap(std::move(data));
  const Bytes& b = heap.data_.bytes;
  if (b.size() < kHeapHeaderSize) {
    log.add(heap.fileOffsetAt(0), "heap of " + std::to_string(b.size()) + " bytes is shorter than its header");
    return std::nullopt;
  }
  if (b[kOffSig] != kHeapSig) {
    log.add(heap.fileOffsetAt(kOffSig), "heap bSig is " + hex(b[kOffSig]) + ", expected 0xEC");
    return std::nullopt;
  }
  heap.clientSig_ = b[kOffClientSig];
  heap.userRoot_ = le32(b.data() + kOffUserRoot);
  if (!heap.readPageMap(log)) return std::nullopt;
  return heap;
}

bool Heap::readPageMap(ViolationLog& log) {
  const Bytes& b = data_.bytes;
  std::uint16_t ibHnpm = le16(b.data());
  if (!fits(b.size(), ibHnpm, kPageMapHeader)) {
    log.add(fileOffsetAt(0), "heap ibHnpm " + std::to_string(ibHnpm) + " lies outside the heap");
    return false;
  }
  std::uint16_t cAlloc = le16(b.data() + ibHnpm);
  std::uint64_t mapEnd = ibHnpm + kPageMapHeader + 2ull * (cAlloc + 1u);
  if (mapEnd > b.size()) {
    log.add(fileOffsetAt(ibHnpm), "heap page map of " + std::to_string(cAlloc) + " allocations runs past the data");
    return false;
  }
  if (mapEnd != b.size())
    log.add(fileOffsetAt(mapEnd), "heap has " + std::to_string(b.size() - mapEnd) + " bytes after its page map");
  for (unsigned i = 0; i <= cAlloc; ++i) offsets_.push_back(le16(b.data() + ibHnpm + kPageMapHeader + 2 * i));
  if (offsets_.front() != kHeapHeaderSize)
    log.add(fileOffsetAt(ibHnpm + kPageMapHeader), "heap allocations start at " + std::to_string(offsets_.front()) +
                                                       ", expected 12");
  for (unsigned i = 0; i < cAlloc; ++i)
    if (offsets_[i] > offsets_[i + 1]) {
      log.add(fileOffsetAt(ibHnpm + kPageMapHeader + 2 * i), "heap allocation offsets decrease at entry " +
                                                                  std::to_string(i));
      return false;
    }
  if (offsets_.back() != ibHnpm) {
    log.add(fileOffsetAt(ibHnpm), "heap allocations end at " + std::to_string(offsets_.back()) +
                                      ", but the page map starts at " + std::to_string(ibHnpm));
    return false;
  }
  return true;
}

bool Heap::isHid(std::uint32_t value) const {
  std::size_t index = hidIndex(value);
  return (value & kHidTypeMask) == 0 && (value >> kHidBlockShift) == 0 && index >= 1 && index <= count();
}

std::optional<Bytes> Heap::item(std::uint32_t hid) const {
  if (!isHid(hid)) return std::nullopt;
  std::size_t index = hidIndex(hid);
  auto begin = data_.bytes.begin() + offsets_[index - 1];
  return Bytes(begin, data_.bytes.begin() + offsets_[index]);
}

std::uint64_t Heap::fileOffset(std::uint32_t hid) const {
  if (!isHid(hid)) return fileOffsetAt(0);
  return fileOffsetAt(offsets_[hidIndex(hid) - 1]);
}

void reportUnreferenced(const Heap& heap, const std::set<std::uint32_t>& used, ViolationLog& log) {
  for (std::uint32_t index = 1; index <= heap.count(); ++index) {
    std::uint32_t hid = index << kHidIndexShift;
    if (!used.count(hid)) log.add(heap.fileOffset(hid), "heap allocation " + hex(hid) + " is referenced by nothing");
  }
}

}  // namespace vread
