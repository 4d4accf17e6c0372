#include "ndb/file_store.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#ifdef _WIN32
#include <windows.h>

#include <climits>
#include <filesystem>
#else
#include <sys/stat.h>
#include <sys/types.h>
#endif

#include "core/errors.h"
#include "ndb/header.h"
#include "ndb/io_hook.h"

namespace virel {
namespace ndb {
namespace {

constexpr size_t kZeroChunk = 65536;

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

#ifdef _WIN32
// The output path is in the code page of the file interfaces, not UTF-8.
// An empty result means the path cannot be converted.
std::wstring ToWide(const std::string& s) {
  if (s.empty() || s.size() > static_cast<size_t>(INT_MAX)) {
    return std::wstring();
  }
  const UINT cp = AreFileApisANSI() ? CP_ACP : CP_OEMCP;
  const int size = static_cast<int>(s.size());
  const int n = MultiByteToWideChar(cp, 0, s.data(), size, nullptr, 0);
  if (n < 1) return std::wstring();
  std::wstring w(static_cast<size_t>(n), L'\0');
  if (MultiByteToWideChar(cp, 0, s.data(), size, &w[0], n) != n) {
    return std::wstring();
  }
  return w;
}

std::string SystemErrorText(DWORD code) {
  char* buf = nullptr;
  const DWORD n = FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
          FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<LPSTR>(&buf), 0, nullptr);
  std::string text = n > 0 ? std::string(buf, n) : "error " + std::to_string(code);
  if (buf != nullptr) LocalFree(buf);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' ||
                           text.back() == ' ' || text.back() == '.')) {
    text.pop_back();
  }
  return text;
}

// Returns an empty string on success, else the system's error text.
std::string MakeDirectory(const std::string& dir) {
  const std::wstring wide = ToWide(dir);
  if (CreateDirectoryW(wide.c_str(), nullptr)) return std::string();
  const DWORD err = GetLastError();
  // An existing directory is no failure, whichever error it gave: some
  // (a drive root, a folder on a read-only share) report access denied.
  const DWORD attrs = GetFileAttributesW(wide.c_str());
  if (attrs != INVALID_FILE_ATTRIBUTES && (attrs & FILE_ATTRIBUTE_DIRECTORY)) {
    return std::string();
  }
  return SystemErrorText(err);
}

bool IsSeparatorAt(const std::string& s, size_t i) {
  return i < s.size() && IsSeparator(s[i]);
}

// The end of the path component that starts at `pos`.
size_t ComponentEnd(const std::string& s, size_t pos) {
  while (pos < s.size() && !IsSeparator(s[pos])) ++pos;
  return pos;
}

// The end of "server\share" starting at `pos`.
size_t ShareEnd(const std::string& s, size_t pos) {
  pos = ComponentEnd(s, pos);
  while (IsSeparatorAt(s, pos)) ++pos;
  return ComponentEnd(s, pos);
}

// Length of the leading part of a path that names a drive, a share or a
// device rather than a directory, which is never created: "C:",
// "\\server\share", "\\?\C:", "\\?\UNC\server\share", "\\.\device".
size_t RootLength(const std::string& dir) {
  if (dir.size() >= 2 && dir[1] == ':') return 2;
  if (!IsSeparatorAt(dir, 0) || !IsSeparatorAt(dir, 1)) return 0;
  if (dir.size() >= 3 && (dir[2] == '?' || dir[2] == '.') &&
      (dir.size() == 3 || IsSeparator(dir[3]))) {
    const size_t pos = 4;
    if (pos >= dir.size()) return dir.size();
    if (dir.size() >= pos + 2 && dir[pos + 1] == ':') return pos + 2;
    if (IsSeparatorAt(dir, pos + 3) &&
        (dir[pos] == 'U' || dir[pos] == 'u') &&
        (dir[pos + 1] == 'N' || dir[pos + 1] == 'n') &&
        (dir[pos + 2] == 'C' || dir[pos + 2] == 'c')) {
      return ShareEnd(dir, pos + 4);
    }
    return ComponentEnd(dir, pos);
  }
  return ShareEnd(dir, 2);
}
#else
std::string MakeDirectory(const std::string& dir) {
  if (mkdir(dir.c_str(), 0777) == 0) return std::string();
  const int err = errno;
  struct stat st;
  if (err == EEXIST && stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    return std::string();
  }
  return std::strerror(err);
}

size_t RootLength(const std::string&) { return 0; }
#endif

// Creates `dir` and every missing ancestor.
void CreateDirectories(const std::string& dir) {
  for (size_t i = RootLength(dir) + 1; i <= dir.size(); ++i) {
    if (i < dir.size() && !IsSeparator(dir[i])) continue;
    if (IsSeparator(dir[i - 1])) continue;  // root or doubled separator
    const std::string prefix = dir.substr(0, i);
    if (prefix.size() == 2 && prefix[1] == ':') continue;  // drive letter
    const std::string error = MakeDirectory(prefix);
    if (!error.empty()) {
      throw FileIOException("directory creation", dir, error);
    }
  }
}

}  // namespace

std::string ParentDirectory(const std::string& path) {
  size_t cut = path.size();
  while (cut > 0 && !IsSeparator(path[cut - 1])) --cut;
  while (cut > 0 && IsSeparator(path[cut - 1])) --cut;
  if (cut == 0 && !path.empty() && IsSeparator(path[0])) return path.substr(0, 1);
  return path.substr(0, cut);
}

FileStore::FileStore(const std::string& path) : path_(path) {
  const std::string parent = ParentDirectory(path_);
  if (!parent.empty()) CreateDirectories(parent);
  const auto mode = std::ios::in | std::ios::out | std::ios::binary |
                    std::ios::trunc;
#ifdef _WIN32
  stream_.open(std::filesystem::path(ToWide(path_)), mode);
#else
  stream_.open(path_, mode);
#endif
  if (!stream_.is_open()) {
    throw FileIOException("file opening", path_, "unknown reason");
  }
  open_ = true;
  end_ = 0;
  position_ = 0;
}

FileStore::~FileStore() = default;

void FileStore::RequireOpen(const char* operation) const {
  if (!open_) throw FileIOException(operation, path_, "file not open");
}

void FileStore::Write(const char* operation, uint64_t offset, const void* data,
                      size_t size) {
  // Zeros still owed before `offset` go first, so no allocation is left
  // as a hole.
  if (offset > tail_start_) FillZerosTo(operation, std::min(offset, end_));
  size_t allowed = size;
  const char* detail = "write failed";
  bool fail = false;
  if (IoHook* hook = CurrentIoHook()) {
    const IoFault fault = hook->Before({IoOp::kWrite, offset, data, size});
    if (fault.fail) {
      fail = true;
      allowed = std::min(fault.written, size);
      detail = fault.detail;
    }
  }
  if (position_ != offset) {
    stream_.clear();
    stream_.seekp(static_cast<std::streamoff>(offset), std::ios::beg);
    if (!stream_) {
      position_ = kUnknownPosition;
      throw FileIOException(operation, path_, "seek failed");
    }
  }
  stream_.write(static_cast<const char*>(data),
                static_cast<std::streamsize>(allowed));
  if (!stream_ || fail) {
    position_ = kUnknownPosition;
    throw FileIOException(operation, path_, detail);
  }
  position_ = offset + size;
  end_ = std::max(end_, position_);
  tail_start_ = std::max(tail_start_, position_);
}

void FileStore::Flush(const char* operation) {
  if (IoHook* hook = CurrentIoHook()) {
    const IoFault fault = hook->Before({IoOp::kFlush, end_, nullptr, 0});
    if (fault.fail) throw FileIOException(operation, path_, fault.detail);
  }
  stream_.flush();
  if (!stream_) {
    position_ = kUnknownPosition;
    throw FileIOException(operation, path_, "flush failed");
  }
}

void FileStore::FillZerosTo(const char* operation, uint64_t to) {
  static const char kZeros[kZeroChunk] = {};
  while (tail_start_ < to) {
    const size_t n =
        static_cast<size_t>(std::min<uint64_t>(to - tail_start_, kZeroChunk));
    Write(operation, tail_start_, kZeros, n);
  }
}

uint64_t FileStore::Allocate(uint64_t size) {
  RequireOpen("block allocation");
  const uint64_t offset = end_;
  end_ += size;  // written by the caller's next write, or as zeros later
  return offset;
}

void FileStore::FlushZeros() {
  RequireOpen("block allocation");
  if (tail_start_ >= end_) return;
  FillZerosTo("block allocation", end_);
  Flush("block allocation");
}

void FileStore::WriteAt(uint64_t offset, const void* data, size_t size) {
  RequireOpen("write at");
  if (data == nullptr || size == 0) return;
  Write("write at", offset, data, size);
  Flush("write at");
}

void FileStore::WriteHeader(const char* format_name) {
  RequireOpen("header write");
  const Bytes header = BuildHeader(FormatFlag(format_name));
  Write("header write", 0, header.data(), header.size());
  Flush("header write");
}

void FileStore::AppendPending(const Bytes& data) {
  pending_.insert(pending_.end(), data.begin(), data.end());
}

void FileStore::FlushPending() {
  RequireOpen("buffer flush");
  if (pending_.empty()) return;
  Write("buffer flush", end_, pending_.data(), pending_.size());
  Flush("buffer flush");
  pending_.clear();
}

void FileStore::PadTo(uint64_t min_size) {
  if (!open_ || end_ >= min_size) return;
  FillZerosTo("closing", min_size);
  Flush("closing");
}

void FileStore::Close() {
  if (!open_) return;
  // A failure here leaves the file open, so closing again can finish it.
  if (tail_start_ < end_) {
    FillZerosTo("closing", end_);
    Flush("closing");
  }
  const char* failure = nullptr;
  if (IoHook* hook = CurrentIoHook()) {
    const IoFault fault = hook->Before({IoOp::kClose, end_, nullptr, 0});
    if (fault.fail) failure = fault.detail;
  }
  stream_.flush();
  if (!stream_ && failure == nullptr) failure = "flush failed";
  stream_.close();
  open_ = false;
  if (stream_.fail() && failure == nullptr) failure = "close failed";
  if (failure != nullptr) throw FileIOException("closing", path_, failure);
}

namespace {
std::atomic<IoHook*> g_io_hook{nullptr};
}  // namespace

void SetIoHook(IoHook* hook) { g_io_hook.store(hook); }
IoHook* CurrentIoHook() { return g_io_hook.load(std::memory_order_relaxed); }

}  // namespace ndb
}  // namespace virel
