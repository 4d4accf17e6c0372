// The one output file of a writer: appends zero-filled space at the end,
// writes at offsets, tracks the logical end, pads and closes. Every write
// is flushed at once so the file is consistent up to the last call.
// The zeros of the latest allocation are written only if what the caller
// writes next does not cover them: a new block costs one write, not two.
#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "core/coding.h"

namespace virel {
namespace ndb {

class FileStore {
 public:
  // Creates missing parent directories and opens (truncating) the file.
  explicit FileStore(const std::string& path);
  ~FileStore();
  FileStore(const FileStore&) = delete;
  FileStore& operator=(const FileStore&) = delete;

  // Appends `size` zero bytes; returns the offset where they start.
  uint64_t Allocate(uint64_t size);
  void WriteAt(uint64_t offset, const void* data, size_t size);
  // Writes a fresh header (ROOT all zero) at offset 0.
  void WriteHeader(const char* format_name);
  // Writes the zeros of allocations no write has covered yet, so the file
  // on disk reaches end().
  void FlushZeros();
  // Queues bytes for FlushPending, which appends them at the end.
  void AppendPending(const Bytes& data);
  void FlushPending();
  // Appends zeros until the end reaches `min_size`; no-op when closed.
  void PadTo(uint64_t min_size);
  void Close();

  bool is_open() const { return open_; }
  uint64_t end() const { return end_; }
  const std::string& path() const { return path_; }

 private:
  static constexpr uint64_t kUnknownPosition = ~uint64_t{0};

  void RequireOpen(const char* operation) const;
  // Writes at `offset`, seeking only when the stream is elsewhere.
  void Write(const char* operation, uint64_t offset, const void* data,
             size_t size);
  void Flush(const char* operation);
  // Writes zeros from tail_start_ up to `to`, raising the end if needed.
  void FillZerosTo(const char* operation, uint64_t to);

  std::string path_;
  std::fstream stream_;
  bool open_ = false;
  uint64_t end_ = 0;
  uint64_t position_ = kUnknownPosition;  // where the stream will write next
  // Allocated bytes from here to end_ are not on disk yet; they read as
  // zeros once written or once the file grows past them.
  uint64_t tail_start_ = 0;
  Bytes pending_;
};

// Splits off the parent directory: everything before the last '/' or '\',
// with trailing separators dropped. Empty when the path has no directory.
std::string ParentDirectory(const std::string& path);

}  // namespace ndb
}  // namespace virel
