#include "row_groups.h"

#include <cstring>

namespace vread {

namespace {

constexpr char kMagic[] = {'L', 'T', 'P', 'C'};
constexpr std::uint64_t kMagicSize = sizeof(kMagic);
constexpr std::uint64_t kGroupKeySize = 8;
constexpr std::uint64_t kRowIdSize = 8;
constexpr std::uint64_t kCountSize = 4;
constexpr std::uint64_t kCellHeadSize = 8;  // tag, value length

// Reads forward through a payload; every read checks the bounds first.
class Cursor {
 public:
  explicit Cursor(const Bytes& b) : b_(b) {}
  bool has(std::uint64_t n) const { return fits(b_.size(), at_, n); }
  std::uint32_t u32() { return le32(take(kCountSize)); }
  std::uint64_t u64() { return le64(take(kRowIdSize)); }
  Bytes bytes(std::uint64_t n) {
    const std::uint8_t* p = take(n);
    return Bytes(p, p + n);
  }
  void skip(std::uint64_t n) { at_ += n; }

 private:
  const std::uint8_t* take(std::uint64_t n) {
    const std::uint8_t* p = b_.data() + at_;
    at_ += n;
    return p;
  }
  const Bytes& b_;
  std::uint64_t at_ = 0;
};

bool readRow(Cursor& in, std::map<std::uint32_t, RowCells>& rows) {
  if (!in.has(kRowIdSize + kCountSize)) return false;
  const std::uint64_t id = in.u64();
  const std::uint32_t cells = in.u32();
  RowCells row;
  for (std::uint32_t i = 0; i < cells; ++i) {
    if (!in.has(kCellHeadSize)) return false;
    const std::uint32_t tag = in.u32();
    const std::uint32_t length = in.u32();
    if (!in.has(length)) return false;
    row[tag] = in.bytes(length);
  }
  rows[static_cast<std::uint32_t>(id)] = std::move(row);
  return true;
}

}  // namespace

std::optional<std::map<std::uint32_t, RowCells>> parseRowGroup(const Bytes& payload) {
  if (payload.size() < kMagicSize || std::memcmp(payload.data(), kMagic, kMagicSize) != 0) return std::nullopt;
  Cursor in(payload);
  in.skip(kMagicSize);
  if (!in.has(kGroupKeySize + kCountSize)) return std::nullopt;
  in.skip(kGroupKeySize);
  const std::uint32_t count = in.u32();
  std::map<std::uint32_t, RowCells> rows;
  for (std::uint32_t i = 0; i < count; ++i)
    if (!readRow(in, rows)) return std::nullopt;
  return rows;
}

}  // namespace vread
