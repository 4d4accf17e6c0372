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
  buffer_.erase(0, pos_);
  buffer_offset_ += pos_;
  lines_end_ -= pos_;
  pos_ = 0;
  const size_t had = lines_end_;
  while (!eof_ && lines_end_ == had) {
    // A line or message longer than the buffer doubles it.
    const size_t want = std::max(chunk_, buffer_.size());
    const size_t old = buffer_.size();
    buffer_.resize(old + want);
    in_.read(&buffer_[old], static_cast<std::streamsize>(want));
    buffer_.resize(old + static_cast<size_t>(in_.gcount()));
    if (in_.bad()) {
      failed_ = true;
      return;
    }
    eof_ = in_.eof();
    const size_t newline = buffer_.rfind('\n');
    if (newline != std::string::npos && newline >= lines_end_) lines_end_ = newline + 1;
    if (eof_) lines_end_ = buffer_.size();
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
