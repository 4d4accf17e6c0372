#include "mbox_decoder.h"

#include <utility>

#include "mime_reader.h"

namespace vimport {

MboxDecoder::MboxDecoder(std::string_view mbox, size_t max_ahead, size_t max_ahead_bytes)
    : reader_(mbox),
      max_ahead_(max_ahead),
      max_ahead_bytes_(max_ahead_bytes),
      thread_(&MboxDecoder::Run, this) {}

MboxDecoder::~MboxDecoder() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

bool MboxDecoder::HasRoom() const {
  return ready_.empty() ||
         (ready_.size() < max_ahead_ && ready_bytes_ < max_ahead_bytes_);
}

void MboxDecoder::Run() {
  try {
    std::string_view raw;
    while (reader_.Next(&raw)) {
      DecodedMessage message;
      // A view into the reader's own buffer does not outlast the next call.
      message.unquoted = reader_.last_unquoted();
      if (message.unquoted) {
        message.copy = std::string(raw);
      } else {
        message.in_file = raw;
      }
      message.item = ParseMessage(raw);
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return stop_ || HasRoom(); });
      if (stop_) return;
      ready_bytes_ += raw.size();
      ready_.push_back(std::move(message));
      changed_.notify_all();
    }
  } catch (...) {
    const std::lock_guard<std::mutex> lock(mutex_);
    error_ = std::current_exception();
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    done_ = true;
  }
  changed_.notify_all();
}

bool MboxDecoder::Next(DecodedMessage* message) {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return !ready_.empty() || done_; });
  if (ready_.empty()) {
    if (error_) std::rethrow_exception(error_);
    return false;
  }
  *message = std::move(ready_.front());
  ready_.pop_front();
  ready_bytes_ -= message->raw().size();
  changed_.notify_all();
  return true;
}

}  // namespace vimport
