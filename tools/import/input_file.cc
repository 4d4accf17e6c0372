#include "input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>

namespace vimport {
namespace {

// Closes a descriptor when it goes out of scope.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

}  // namespace

InputFile::~InputFile() = default;

bool InputFile::Open(const std::string& path) {
  bytes_.clear();
  const Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat st;
  if (fd.get() < 0 || fstat(fd.get(), &st) != 0 || S_ISDIR(st.st_mode)) return false;
  if (S_ISREG(st.st_mode)) {
    // Read whole rather than mapped: a file cut short while it is read then
    // reads short instead of ending the process.
    bytes_.resize(static_cast<size_t>(st.st_size));
    size_t got = 0;
    while (got < bytes_.size()) {
      const ssize_t n = read(fd.get(), &bytes_[got], bytes_.size() - got);
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) {
        bytes_.clear();
        return false;
      }
      if (n == 0) break;
      got += static_cast<size_t>(n);
    }
    bytes_.resize(got);
    return true;
  }
  // A pipe or device: read to its end.
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  bytes_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad()) {
    bytes_.clear();
    return false;
  }
  return true;
}

}  // namespace vimport
