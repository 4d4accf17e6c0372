// A single-byte charset as a table that iconv fills once: each byte's
// UTF-8, or none where the charset leaves the byte undefined. Converting a
// text through it gives what iconv gives for the whole text, without
// iconv's cost per character.
#pragma once

#include <glib.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>

namespace vimport {

class SingleByteTable {
 public:
  // Null unless every byte converts alone and at once and ASCII stays
  // itself: multi-byte, stateful and composing charsets get no table.
  // `converter` is left reset.
  static std::unique_ptr<SingleByteTable> Build(GIConv converter);

  // Appends the UTF-8 of `in` to `out`; false at a byte the charset does
  // not define.
  bool Convert(const std::string& in, std::string* out) const;

 private:
  static constexpr size_t kMaxUtf8 = 4;
  SingleByteTable() = default;

  std::array<std::array<char, kMaxUtf8>, 256> utf8_{};
  std::array<uint8_t, 256> length_{};  // 0: undefined
};

}  // namespace vimport
