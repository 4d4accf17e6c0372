// An mbox file read in pieces through one buffer that is reused, rather
// than all at once: the messages come out as MboxReader gives them for the
// whole file, each with where its entry lies in the file so that its bytes
// can be read again when they are needed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

#include "mbox_file.h"

namespace vimport {

// Where one mbox entry, its separator line included, lies in its file.
struct MboxEntry {
  uint64_t offset = 0;
  size_t size = 0;
};

class MboxStream {
 public:
  static constexpr size_t kChunkBytes = size_t(1) << 20;

  // Reads `chunk` bytes at a time, or more when a line or a message needs
  // more.
  explicit MboxStream(const std::string& path, size_t chunk = kChunkBytes);
  MboxStream(const MboxStream&) = delete;
  MboxStream& operator=(const MboxStream&) = delete;

  bool is_open() const { return in_.is_open(); }
  // False when no message is left or reading failed. `*message` stays
  // valid until the next call.
  bool Next(std::string_view* message);
  // Reading stopped on an error before the end of the file.
  bool failed() const { return failed_; }
  // The entry of the message Next gave last.
  const MboxEntry& entry() const { return entry_; }

 private:
  // The buffer's whole lines, from pos_ on.
  std::string_view Window() const;
  // Drops what was read before pos_ and reads on until at least one more
  // whole line is buffered, or to the end of the file.
  void ReadMore();

  std::ifstream in_;
  size_t chunk_;
  std::string buffer_;          // bytes of the file from buffer_offset_ on
  size_t filled_ = 0;           // how much of the buffer they fill
  uint64_t buffer_offset_ = 0;
  size_t lines_end_ = 0;        // the buffer's whole lines end here
  size_t pos_ = 0;              // the next entry starts here, or junk does
  bool eof_ = false;
  bool failed_ = false;
  MboxReader reader_{std::string_view()};
  MboxEntry entry_;
};

// The message of the entry at `entry` in the mbox file at `path`, unquoted;
// empty when it cannot be read.
std::string ReadMboxMessage(const std::string& path, const MboxEntry& entry);

}  // namespace vimport
