#include "decode_ahead.h"

#include <utility>

#include "mime_reader.h"

namespace vimport {

std::string DecodedMessage::Raw() const {
  if (!mbox_path.empty()) return ReadMboxMessage(mbox_path, entry);
  return std::string(in_place);
}

DecodeAhead::DecodeAhead(Source source, size_t max_ahead, size_t max_ahead_bytes)
    : source_(std::move(source)),
      max_ahead_(max_ahead),
      max_ahead_bytes_(max_ahead_bytes),
      thread_(&DecodeAhead::Run, this) {}

DecodeAhead::~DecodeAhead() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

bool DecodeAhead::HasRoom() const {
  return ready_.empty() ||
         (ready_.size() < max_ahead_ && ready_bytes_ < max_ahead_bytes_);
}

bool DecodeAhead::WakeConsumer() const {
  return consumer_waiting_ && (ready_.size() >= (max_ahead_ + 1) / 2 || !HasRoom());
}

void DecodeAhead::Run() {
  try {
    for (;;) {
      DecodedMessage message;
      if (!source_(&message)) break;
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return stop_ || HasRoom(); });
      if (stop_) return;
      ready_bytes_ += message.size;
      ready_.push_back(std::move(message));
      if (WakeConsumer()) changed_.notify_all();
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

bool DecodeAhead::Next(DecodedMessage* message) {
  std::unique_lock<std::mutex> lock(mutex_);
  consumer_waiting_ = true;
  changed_.wait(lock, [this] { return !ready_.empty() || done_; });
  consumer_waiting_ = false;
  if (ready_.empty()) {
    if (error_) std::rethrow_exception(error_);
    return false;
  }
  *message = std::move(ready_.front());
  ready_.pop_front();
  ready_bytes_ -= message->size;
  // The decoder, once it waits for room, is woken when the queue is half
  // empty, so that it decodes several messages per wake-up.
  if (ready_.size() <= max_ahead_ / 2 && ready_bytes_ <= max_ahead_bytes_ / 2) {
    changed_.notify_all();
  }
  return true;
}

DecodeAhead::Source MboxMessages(std::shared_ptr<MboxStream> mbox, std::string path) {
  return [mbox = std::move(mbox), path = std::move(path)](DecodedMessage* message) {
    std::string_view raw;
    if (!mbox->Next(&raw)) return false;
    message->size = raw.size();
    message->mbox_path = path;
    message->entry = mbox->entry();
    message->item = ParseMessage(raw);
    return true;
  };
}

DecodeAhead::Source MessageFiles(std::vector<std::string> paths) {
  return [paths = std::move(paths), next = size_t{0}](DecodedMessage* message) mutable {
    if (next == paths.size()) return false;
    auto file = std::make_shared<InputFile>();
    message->readable = file->Open(paths[next++]);
    if (message->readable) {
      message->in_place = file->bytes();
      message->size = message->in_place.size();
      message->item = ParseMessage(message->in_place);
      message->file = std::move(file);
    }
    return true;
  };
}

}  // namespace vimport
