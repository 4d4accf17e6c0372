// An input file's bytes, mapped read-only into memory rather than copied:
// the importer reads every message in place.
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
  void Release();

  std::string_view bytes_;
  void* map_ = nullptr;  // the mapping, when there is one
  size_t map_size_ = 0;
  std::string copy_;  // the bytes of a file that cannot be mapped (a pipe)
};

}  // namespace vimport
