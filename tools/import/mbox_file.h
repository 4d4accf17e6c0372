// Splitting an mbox file into its messages and writing messages back in
// mbox form. Separators are "From " lines; quoted ">From " lines (mboxo and
// mboxrd) lose one ">" on the way in and gain one on the way out.
#pragma once

#include <string>
#include <vector>

namespace vimport {

// True when the bytes open like an mbox file.
bool LooksLikeMbox(const std::string& data);

// Reads the messages of an mbox file one at a time, in order, separator
// lines removed and quoted "From " lines unquoted. `data` must outlive it.
class MboxReader {
 public:
  explicit MboxReader(const std::string& data);
  // False when no message is left.
  bool Next(std::string* message);

 private:
  const std::string& data_;
  size_t pos_ = 0;
};

// Every message of an mbox file, as MboxReader reads them.
std::vector<std::string> SplitMbox(const std::string& data);

// One mbox entry (separator line, quoted body, blank line) for `raw`.
std::string ToMboxEntry(const std::string& raw);

}  // namespace vimport
