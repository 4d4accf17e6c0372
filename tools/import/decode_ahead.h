// Decodes messages on a thread of their own, a bounded few ahead of the
// caller, so that decoding the next message overlaps with writing the last
// one. Messages come out in input order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "input_file.h"
#include "items.h"
#include "mbox_stream.h"

namespace vimport {

struct DecodedMessage {
  // The message's bytes, as they go to the rejected-items file: a message
  // file's own, or an mbox message read again from `mbox_path`.
  std::string Raw() const;

  size_t size = 0;  // bytes of the message
  std::string_view in_place;  // a message file's bytes
  std::shared_ptr<const InputFile> file;  // holds them
  std::string mbox_path;  // or the mbox file and the message's entry in it
  MboxEntry entry;
  bool readable = true;  // false: the message file could not be read
  MailItem item;
};

class DecodeAhead {
 public:
  // Runs on the decoding thread: fills in the next message, false when
  // none is left.
  using Source = std::function<bool(DecodedMessage*)>;

  static constexpr size_t kMaxAhead = 64;
  static constexpr size_t kMaxAheadBytes = 64u << 20;

  // At most `max_ahead` messages, and past one only while their raw bytes
  // stay under `max_ahead_bytes`, wait decoded.
  explicit DecodeAhead(Source source, size_t max_ahead = kMaxAhead,
                       size_t max_ahead_bytes = kMaxAheadBytes);
  // Stops decoding and waits for the thread.
  ~DecodeAhead();
  DecodeAhead(const DecodeAhead&) = delete;
  DecodeAhead& operator=(const DecodeAhead&) = delete;

  // The next message in input order; false when none is left. Rethrows
  // what decoding threw (only running out of memory).
  bool Next(DecodedMessage* message);

 private:
  void Run();
  bool HasRoom() const;
  // Whether a waiting consumer should be woken now: a wake-up costs the
  // decoder more than a small message takes to decode, so it is done once
  // per batch, when the queue is full, or at the end.
  bool WakeConsumer() const;

  Source source_;  // called on the decoding thread only
  const size_t max_ahead_;
  const size_t max_ahead_bytes_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<DecodedMessage> ready_;
  size_t ready_bytes_ = 0;
  bool consumer_waiting_ = false;
  bool done_ = false;  // the decoding thread has finished
  bool stop_ = false;  // the caller wants no more
  std::exception_ptr error_;
  std::thread thread_;  // last: started once everything above is set
};

// The messages of an mbox file, split and decoded as they are read.
DecodeAhead::Source MboxMessages(std::shared_ptr<MboxStream> mbox, std::string path);

// One message per file, in the order given; a file that cannot be read
// gives a message that is not `readable`.
DecodeAhead::Source MessageFiles(std::vector<std::string> paths);

}  // namespace vimport
