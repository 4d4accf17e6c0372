// An input file's bytes, read whole: a calendar, or a message file.
#pragma once

#include <string>
#include <string_view>

namespace vimport {

class InputFile {
 public:
  InputFile() = default;
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // False when the file cannot be opened or read; the bytes are then empty.
  bool Open(const std::string& path);
  // Valid as long as the InputFile.
  std::string_view bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

}  // namespace vimport
