// Splits an mbox and decodes its messages on a thread of its own, a few
// messages ahead of the caller, so that decoding the next message overlaps
// with writing the last one. Messages come out in file order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "items.h"
#include "mbox_file.h"

namespace vimport {

struct DecodedMessage {
  // The message's bytes, as they go to the rejected-items file.
  std::string_view raw() const { return unquoted ? std::string_view(copy) : in_file; }

  std::string_view in_file;  // the file's bytes, when nothing was unquoted
  std::string copy;          // else the unquoted bytes
  bool unquoted = false;
  MailItem item;
};

class MboxDecoder {
 public:
  // `mbox` must outlive the decoder. At most `max_ahead` messages, and
  // past one only while their raw bytes stay under `max_ahead_bytes`,
  // wait decoded.
  explicit MboxDecoder(std::string_view mbox, size_t max_ahead = kMaxAhead,
                       size_t max_ahead_bytes = kMaxAheadBytes);
  // Stops decoding and waits for the thread.
  ~MboxDecoder();
  MboxDecoder(const MboxDecoder&) = delete;
  MboxDecoder& operator=(const MboxDecoder&) = delete;

  // The next message in file order; false when none is left. Rethrows
  // what decoding threw (only running out of memory).
  bool Next(DecodedMessage* message);

  static constexpr size_t kMaxAhead = 16;
  static constexpr size_t kMaxAheadBytes = 64u << 20;

 private:
  void Run();
  bool HasRoom() const;

  MboxReader reader_;  // used on the decoding thread only
  const size_t max_ahead_;
  const size_t max_ahead_bytes_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<DecodedMessage> ready_;
  size_t ready_bytes_ = 0;
  bool done_ = false;  // the decoding thread has finished
  bool stop_ = false;  // the caller wants no more
  std::exception_ptr error_;
  std::thread thread_;  // last: started once everything above is set
};

}  // namespace vimport
