#include "single_byte_table.h"

#include <cerrno>

namespace vimport {
namespace {

constexpr unsigned kFirstNonAscii = 0x80;

// One byte through `converter` without flushing it. The result's size, or
// -1 when the byte alone is not a whole character; 0 when it is undefined.
int ConvertByte(GIConv converter, uint8_t byte, char* out, size_t room) {
  g_iconv(converter, nullptr, nullptr, nullptr, nullptr);
  char in = static_cast<char>(byte);
  gchar* in_at = &in;
  gsize in_left = 1;
  gchar* out_at = out;
  gsize out_left = room;
  if (g_iconv(converter, &in_at, &in_left, &out_at, &out_left) == static_cast<gsize>(-1)) {
    return errno == EILSEQ ? 0 : -1;
  }
  // A composing converter holds a character back until it sees the next.
  const size_t written = room - out_left;
  return written == 0 ? -1 : static_cast<int>(written);
}

}  // namespace

std::unique_ptr<SingleByteTable> SingleByteTable::Build(GIConv converter) {
  std::unique_ptr<SingleByteTable> table(new SingleByteTable());
  for (unsigned b = 0; b < 256; ++b) {
    char* out = table->utf8_[b].data();
    const int n = ConvertByte(converter, static_cast<uint8_t>(b), out, kMaxUtf8);
    const bool valid = b < kFirstNonAscii
                           ? n == 1 && static_cast<unsigned char>(out[0]) == b
                           : n >= 0 && g_utf8_validate_len(out, static_cast<gsize>(n), nullptr);
    if (!valid) table.reset();
    if (!table) break;
    table->length_[b] = static_cast<uint8_t>(n);
  }
  g_iconv(converter, nullptr, nullptr, nullptr, nullptr);
  return table;
}

bool SingleByteTable::Convert(const std::string& in, std::string* out) const {
  out->reserve(out->size() + in.size());
  size_t at = 0;
  while (at < in.size()) {
    size_t run = at;
    while (run < in.size() && static_cast<unsigned char>(in[run]) < kFirstNonAscii) ++run;
    out->append(in, at, run - at);
    if (run == in.size()) break;
    const uint8_t byte = static_cast<uint8_t>(in[run]);
    if (length_[byte] == 0) return false;
    out->append(utf8_[byte].data(), length_[byte]);
    at = run + 1;
  }
  return true;
}

}  // namespace vimport
