// Helpers shared by the unit tests: scratch directories, file reading and
// a plain bitwise CRC-32 to check the library's checksums against.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace testutil {

// Tells this run's scratch names from a concurrent run's: the process ID of
// the first test process, handed to death-test children through the
// environment so that they find their parent's files.
inline const std::string& RunId() {
  static const std::string id = [] {
    const char* inherited = std::getenv("VIREL_TEST_RUN_ID");
    if (inherited != nullptr && *inherited != '\0') return std::string(inherited);
#ifdef _WIN32
    const std::string own = std::to_string(_getpid());
    _putenv_s("VIREL_TEST_RUN_ID", own.c_str());
#else
    const std::string own = std::to_string(getpid());
    setenv("VIREL_TEST_RUN_ID", own.c_str(), 1);
#endif
    return own;
  }();
  return id;
}

// A fresh directory under the system temp dir, removed at scope end; named
// after the test and the run, so concurrent runs do not collide.
class TempDir {
 public:
  TempDir() {
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string("virel_") + info->test_suite_name() + "_" +
                       info->name() + "_" + RunId();
    for (char& c : name) {
      if (c == '/') c = '_';
    }
    path_ = std::filesystem::temp_directory_path() / name;
    // A file a kept-alive writer holds open may stay behind on Windows.
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
    std::filesystem::create_directories(path_);
  }
  ~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  std::string File(const std::string& name) const {
    return (path_ / name).string();
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// Memory-backed storage where the system has it, for tests that write
// many files; else the temp dir.
inline std::filesystem::path ScratchBase() {
  std::error_code ec;
  if (std::filesystem::is_directory("/dev/shm", ec)) return "/dev/shm";
  return std::filesystem::temp_directory_path();
}

inline std::vector<uint8_t> ReadAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

inline uint32_t Le32(const std::vector<uint8_t>& b, size_t at) {
  return b[at] | (b[at + 1] << 8) | (b[at + 2] << 16) |
         (static_cast<uint32_t>(b[at + 3]) << 24);
}
inline uint16_t Le16(const std::vector<uint8_t>& b, size_t at) {
  return static_cast<uint16_t>(b[at] | (b[at + 1] << 8));
}
inline uint64_t Le64(const std::vector<uint8_t>& b, size_t at) {
  return Le32(b, at) | (static_cast<uint64_t>(Le32(b, at + 4)) << 32);
}

// Bit-at-a-time CRC-32, independent of the library's table-driven one.
inline uint32_t ReferenceCrc(const uint8_t* p, size_t n) {
  uint32_t c = 0xFFFFFFFFu;
  for (size_t i = 0; i < n; ++i) {
    c ^= p[i];
    for (int k = 0; k < 8; ++k) c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1)));
  }
  return ~c;
}

}  // namespace testutil
