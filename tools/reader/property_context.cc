#include "property_context.h"

#include <set>
#include <utility>

#include "bth.h"
#include "layout.h"
#include "prop_types.h"
#include "text.h"

namespace vread {

using namespace layout;

namespace {

constexpr std::uint8_t kPcKeySize = 2;
constexpr std::uint8_t kPcDataSize = 6;
constexpr std::size_t kEightBytes = 8;
constexpr std::size_t kInlineLimit = 4;
constexpr std::uint32_t kFirstHid = 0x20;
constexpr std::uint32_t kHidStep = 0x20;

Bytes inlineBytes(std::uint32_t value, std::uint16_t type) {
  Bytes b{static_cast<std::uint8_t>(value), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 24)};
  // A short string kept in the record: drop the unused zero code units.
  if (type == ptype::kUnicode)
    while (b.size() >= 2 && b[b.size() - 1] == 0 && b[b.size() - 2] == 0) b.resize(b.size() - 2);
  return b;
}

bool isValueAllocation(const Heap& heap, const Bth& bth, std::uint32_t hid) {
  return heap.isHid(hid) && !bth.structureHids.count(hid) && heap.item(hid)->size() > kInlineLimit;
}

// Assigns the value allocations from `hid` on, in order, to the `allowed`
// records from `from` on; the latest fitting record is tried first.
// `failed` remembers the (hid, from) pairs that have no assignment, so
// that crafted records cannot make the search exponential.
bool assignValues(const Heap& heap, const Bth& bth, std::uint32_t hid, std::size_t from,
                  const std::vector<bool>& allowed, std::vector<bool>& inHeap,
                  std::set<std::pair<std::uint32_t, std::size_t>>& failed) {
  if (!isValueAllocation(heap, bth, hid)) return true;
  if (failed.count({hid, from})) return false;
  for (std::size_t i = bth.records.size(); i-- > from;) {
    const Bytes& d = bth.records[i].data;
    if (!allowed[i] || isInlineType(le16(d.data())) || le32(d.data() + 2) != hid) continue;
    inHeap[i] = true;
    if (assignValues(heap, bth, hid + kHidStep, i + 1, allowed, inHeap, failed)) return true;
    inHeap[i] = false;
  }
  failed.insert({hid, from});
  return false;
}

bool assignValues(const Heap& heap, const Bth& bth, const std::vector<bool>& allowed, std::vector<bool>& inHeap) {
  std::set<std::pair<std::uint32_t, std::size_t>> failed;
  return assignValues(heap, bth, kFirstHid, 0, allowed, inHeap, failed);
}

// Pairs of properties that always hold the same value: subject and
// normalised subject, sender and sent-representing name, an attachment's
// two 8-bit file names.
constexpr std::uint16_t kMirrors[][2] = {{0x0037, 0x0E1D}, {0x0C1A, 0x0042}, {0x3704, 0x3707}};

// Two records cannot both own one allocation, so mirrors whose records are
// equal hold a short value in the record; they are left out of the match.
std::vector<bool> withoutEqualMirrors(const Bth& bth) {
  std::vector<bool> allowed(bth.records.size(), true);
  auto index = [&](std::uint16_t id) -> std::optional<std::size_t> {
    for (std::size_t i = 0; i < bth.records.size(); ++i)
      if (le16(bth.records[i].key.data()) == id) return i;
    return std::nullopt;
  };
  for (const auto& pair : kMirrors) {
    auto a = index(pair[0]), b = index(pair[1]);
    if (a && b && bth.records[*a].data == bth.records[*b].data) allowed[*a] = allowed[*b] = false;
  }
  return allowed;
}

// Values longer than four bytes sit on the heap in tag order, one
// allocation each, before the record array; shorter ones, strings
// included, sit in the record itself, where their bytes can equal a heap
// ID. So the records that refer to the heap are found by matching the
// value allocations to the records in order, equal mirrors left out if
// that works.
std::vector<bool> heapReferences(const Heap& heap, const Bth& bth) {
  std::vector<bool> inHeap(bth.records.size(), false);
  const std::vector<bool> all(bth.records.size(), true);
  if (!assignValues(heap, bth, withoutEqualMirrors(bth), inHeap) && !assignValues(heap, bth, all, inHeap)) {
    // No consistent match: take every record that names an allocation.
    for (std::size_t i = 0; i < bth.records.size(); ++i) {
      const Bytes& d = bth.records[i].data;
      const std::uint32_t hnid = le32(d.data() + 2);
      inHeap[i] = !isInlineType(le16(d.data())) && heap.isHid(hnid) && !bth.structureHids.count(hnid);
    }
  }
  return inHeap;
}

}  // namespace

std::optional<PropertyContext> PropertyContext::parse(const Heap& heap, ViolationLog& log) {
  if (heap.clientSig() != kClientPc) {
    log.add(heap.fileOffsetAt(3), "heap client signature " + hex(heap.clientSig()) + " is not a property context");
    return std::nullopt;
  }
  // One property ID may appear with two types; records then ascend by type.
  auto bth = readBth(heap, heap.userRoot(), kPcKeySize, kPcDataSize, log, true);
  if (!bth) return std::nullopt;
  PropertyContext pc;
  std::uint32_t lastTag = 0;
  const std::vector<bool> inHeap = heapReferences(heap, *bth);
  std::size_t index = 0;
  for (const auto& rec : bth->records) {
    std::uint32_t tag = (static_cast<std::uint32_t>(le16(rec.key.data())) << 16) | le16(rec.data.data());
    if (!pc.props_.empty() && tag <= lastTag) log.add(rec.offset, "property " + hex(tag) + " is out of tag order");
    lastTag = tag;
    pc.addRecord(heap, le16(rec.key.data()), rec.data, rec.offset, inHeap[index++], log);
  }
  std::set<std::uint32_t> used = bth->structureHids;
  for (const auto& entry : pc.props_)
    if (entry.second.inHeap) used.insert(entry.second.hnid);
  reportUnreferenced(heap, used, log);
  return pc;
}

void PropertyContext::addRecord(const Heap& heap, std::uint16_t id, const Bytes& data, std::uint64_t offset,
                                bool heapRef, ViolationLog& log) {
  std::uint16_t type = le16(data.data());
  std::uint32_t hnid = le32(data.data() + 2);
  std::uint32_t tag = (static_cast<std::uint32_t>(id) << 16) | type;
  PropValue value{tag, {}, false, hnid, offset};
  if (heapRef) {
    value.bytes = *heap.item(hnid);
    value.inHeap = true;
  } else if (!isInlineType(type) && hnid != 0 && isEightByteType(type)) {
    log.add(offset, "property " + hex(tag) + " of an 8-byte type does not refer to a heap allocation");
  } else if (hnid != 0 || isInlineType(type)) {
    value.bytes = inlineBytes(hnid, type);
  }
  if (heapRef && isEightByteType(type) && value.bytes.size() != kEightBytes)
    log.add(offset, "property " + hex(tag) + " holds " + std::to_string(value.bytes.size()) + " bytes, expected 8");
  props_[tag] = std::move(value);
}

const PropValue* PropertyContext::find(std::uint32_t tag) const {
  auto it = props_.find(tag);
  return it == props_.end() ? nullptr : &it->second;
}

std::optional<std::string> PropertyContext::text(std::uint32_t tag) const {
  const PropValue* v = find(tag);
  if (v == nullptr) return std::nullopt;
  return utf16ToUtf8(v->bytes);
}

std::optional<std::uint32_t> PropertyContext::u32(std::uint32_t tag) const {
  const PropValue* v = find(tag);
  if (v == nullptr || v->bytes.size() < 4) return std::nullopt;
  return le32(v->bytes.data());
}

std::optional<std::uint64_t> PropertyContext::u64(std::uint32_t tag) const {
  const PropValue* v = find(tag);
  if (v == nullptr || v->bytes.size() != kEightBytes) return std::nullopt;
  return le64(v->bytes.data());
}

}  // namespace vread
