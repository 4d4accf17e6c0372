#include "file_image.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

namespace vread {

namespace {

constexpr std::size_t kChunk = 1 << 16;

std::string reason(int error) { return error != 0 ? std::string(": ") + std::strerror(error) : std::string(); }

}  // namespace

bool FileImage::load(const std::string& path, std::string& error) {
  std::error_code ec;
  const auto status = std::filesystem::status(std::filesystem::path(path), ec);
  if (std::filesystem::is_directory(status)) {
    error = "'" + path + "' is a directory, not a mailbox file";
    return false;
  }
  // A device or a pipe could be endless.
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    error = "'" + path + "' is not a regular file";
    return false;
  }
  errno = 0;
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!in) {
    error = "cannot open '" + path + "'" + reason(errno);
    return false;
  }
  Bytes bytes;
  std::uint8_t chunk[kChunk];
  std::size_t got = 0;
  while ((got = std::fread(chunk, 1, kChunk, in.get())) > 0) bytes.insert(bytes.end(), chunk, chunk + got);
  if (std::ferror(in.get())) {
    error = "cannot read '" + path + "'" + reason(errno);
    return false;
  }
  bytes_ = std::move(bytes);
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
