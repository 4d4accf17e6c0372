#include "file_image.h"

#include <fstream>
#include <iterator>

namespace vread {

bool FileImage::load(const std::string& path, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = "cannot open '" + path + "'";
    return false;
  }
  bytes_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad()) {
    error = "cannot read '" + path + "'";
    return false;
  }
  return true;
}

const std::uint8_t* FileImage::at(std::uint64_t offset, std::uint64_t length) const {
  if (!fits(bytes_.size(), offset, length)) return nullptr;
  return bytes_.data() + offset;
}

Bytes FileImage::copy(std::uint64_t offset, std::uint64_t length) const {
  const std::uint8_t* p = at(offset, length);
  if (p == nullptr) return {};
  return Bytes(p, p + length);
}

}  // namespace vread
