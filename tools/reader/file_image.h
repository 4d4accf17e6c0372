// The whole file held in memory, with bounds-checked access.
#pragma once

#include <string>

#include "bytes.h"

namespace vread {

class FileImage {
 public:
  FileImage() = default;
  explicit FileImage(Bytes bytes) : bytes_(std::move(bytes)) {}

  // Reads the file at `path`; on failure returns false and sets `error`.
  bool load(const std::string& path, std::string& error);

  std::uint64_t size() const { return bytes_.size(); }
  // Pointer to `length` bytes at `offset`, or nullptr when they run past the end.
  const std::uint8_t* at(std::uint64_t offset, std::uint64_t length) const;
  // A copy of the range, empty when out of bounds.
  Bytes copy(std::uint64_t offset, std::uint64_t length) const;

 private:
  Bytes bytes_;
};

}  // namespace vread
