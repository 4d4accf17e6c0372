// Splitting an mbox file into its messages and writing messages back in
// mbox form. Separators are "From " lines; quoted ">From " lines (mboxo and
// mboxrd) lose one ">" on the way in and gain one on the way out.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vimport {

// True when the bytes open like an mbox file.
bool LooksLikeMbox(std::string_view data);

// Reads the messages of an mbox file one at a time, in order, separator
// lines removed and quoted "From " lines unquoted. `data` must outlive it.
class MboxReader {
 public:
  explicit MboxReader(std::string_view data);
  // False when no message is left. `*message` points into `data`, or into
  // the reader when a quoted line had to be unquoted; it stays valid until
  // the next call.
  bool Next(std::string_view* message);
  // Where in `data` the next entry (its separator line on) starts; after
  // the last message, the end of `data`.
  size_t position() const { return pos_; }

 private:
  std::string_view data_;
  size_t pos_ = 0;
  std::string unquoted_;
};

// Every message of an mbox file, as MboxReader reads them.
std::vector<std::string> SplitMbox(std::string_view data);

// One mbox entry (separator line, quoted body, blank line) for `raw`.
std::string ToMboxEntry(std::string_view raw);

}  // namespace vimport
