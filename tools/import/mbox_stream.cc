#include "mbox_stream.h"

#include <algorithm>

namespace vimport {

MboxStream::MboxStream(const std::string& path, size_t chunk)
    : in_(path, std::ios::binary), chunk_(std::max<size_t>(chunk, 1)) {}

std::string_view MboxStream::Window() const {
  return std::string_view(buffer_).substr(pos_, lines_end_ - pos_);
}

bool MboxStream::Next(std::string_view* message) {
  if (!is_open()) return false;
  for (;;) {
    const std::string_view window = Window();
    reader_ = MboxReader(window);
    const size_t start = reader_.position();
    // A message that runs to the end of the buffer may go on after it.
    if (reader_.Next(message) && (reader_.position() < window.size() || eof_)) {
      entry_ = {buffer_offset_ + pos_ + start, reader_.position() - start};
      pos_ += reader_.position();
      return true;
    }
    if (eof_) return false;
    pos_ += start;  // what precedes the first separator is no message
    ReadMore();
    if (failed_) return false;
  }
}

void MboxStream::ReadMore() {
  // The unread rest moves to the front; the buffer keeps its size, so its
  // memory is reused and never cleared again.
  std::copy(buffer_.begin() + static_cast<std::ptrdiff_t>(pos_),
            buffer_.begin() + static_cast<std::ptrdiff_t>(filled_), buffer_.begin());
  buffer_offset_ += pos_;
  lines_end_ -= pos_;
  filled_ -= pos_;
  pos_ = 0;
  const size_t had = lines_end_;
  while (!eof_ && lines_end_ == had) {
    // A line or message longer than the buffer doubles it.
    if (filled_ == buffer_.size()) buffer_.resize(std::max(chunk_, 2 * buffer_.size()));
    in_.read(&buffer_[filled_], static_cast<std::streamsize>(buffer_.size() - filled_));
    const size_t got = static_cast<size_t>(in_.gcount());
    if (in_.bad()) {
      failed_ = true;
      return;
    }
    eof_ = in_.eof();
    const size_t newline = std::string_view(buffer_).substr(filled_, got).rfind('\n');
    if (newline != std::string_view::npos) lines_end_ = filled_ + newline + 1;
    filled_ += got;
    if (eof_) lines_end_ = filled_;
  }
}

std::string ReadMboxMessage(const std::string& path, const MboxEntry& entry) {
  std::ifstream in(path, std::ios::binary);
  std::string bytes(entry.size, '\0');
  in.seekg(static_cast<std::streamoff>(entry.offset));
  in.read(&bytes[0], static_cast<std::streamsize>(bytes.size()));
  if (static_cast<size_t>(in.gcount()) != bytes.size()) return std::string();
  MboxReader reader(bytes);
  std::string_view message;
  return reader.Next(&message) ? std::string(message) : std::string();
}

}  // namespace vimport
