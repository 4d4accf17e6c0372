#include "input_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

InputFile::~InputFile() { Release(); }

void InputFile::Release() {
  if (map_ != nullptr) munmap(map_, map_size_);
  map_ = nullptr;
  map_size_ = 0;
  copy_.clear();
  bytes_ = std::string_view();
}

bool InputFile::Open(const std::string& path) {
  Release();
  const Descriptor fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat st;
  if (fd.get() < 0 || fstat(fd.get(), &st) != 0 || S_ISDIR(st.st_mode)) return false;
  if (S_ISREG(st.st_mode)) {
    if (st.st_size == 0) return true;
    // Populated up front: one pass over the page cache instead of a fault
    // per page.
    void* map = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ,
                     MAP_PRIVATE | MAP_POPULATE, fd.get(), 0);
    if (map != MAP_FAILED) {
      map_ = map;
      map_size_ = static_cast<size_t>(st.st_size);
      bytes_ = std::string_view(static_cast<const char*>(map), map_size_);
      return true;
    }
  }
  // Not mappable: read it whole.
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
  copy_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  if (in.bad()) {
    copy_.clear();
    return false;
  }
  bytes_ = copy_;
  return true;
}

}  // namespace vimport
