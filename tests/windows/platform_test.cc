// The Windows paths of the library: output paths in the code page of the
// file interfaces, directory creation with CreateDirectoryW, the file shared
// with other readers and writers, and timers on the performance counter.
#include <windows.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "core/stats.h"
#include "ndb/file_store.h"
#include "unit/test_util.h"

namespace {

using virel::FileIOException;
using virel::ndb::FileStore;

std::wstring Wide(const std::string& ascii) {
  return std::wstring(ascii.begin(), ascii.end());
}

// `text` in a code page; empty when the code page cannot hold it exactly.
std::string Narrow(UINT code_page, const std::wstring& text) {
  BOOL lossy = FALSE;
  const bool utf = code_page == CP_UTF8;
  const int n = WideCharToMultiByte(code_page, 0, text.data(),
                                    static_cast<int>(text.size()), nullptr, 0,
                                    nullptr, utf ? nullptr : &lossy);
  if (n < 1 || lossy) return std::string();
  std::string out(static_cast<size_t>(n), '\0');
  WideCharToMultiByte(code_page, 0, text.data(), static_cast<int>(text.size()),
                      &out[0], n, nullptr, nullptr);
  return out;
}

bool IsDirectory(const std::wstring& path) {
  const DWORD attrs = GetFileAttributesW(path.c_str());
  return attrs != INVALID_FILE_ATTRIBUTES && (attrs & FILE_ATTRIBUTE_DIRECTORY);
}

bool IsFile(const std::wstring& path) {
  const DWORD attrs = GetFileAttributesW(path.c_str());
  return attrs != INVALID_FILE_ATTRIBUTES && !(attrs & FILE_ATTRIBUTE_DIRECTORY);
}

void WriteSmallFile(const std::string& path) {
  FileStore store(path);
  store.WriteHeader("!BDP");
  store.Close();
}

std::string FullPath(const std::string& path) {
  char buffer[MAX_PATH];
  const DWORD n = GetFullPathNameA(path.c_str(), MAX_PATH, buffer, nullptr);
  return n > 0 && n < MAX_PATH ? std::string(buffer, n) : std::string();
}

TEST(WindowsPaths, OutputPathUsesTheFileInterfaceCodePage) {
  testutil::TempDir dir;
  const std::string base = dir.path().string();
  const std::wstring wbase = dir.path().wstring();
  // "déjà\café.pst": the same characters are different bytes in the ANSI
  // and OEM code pages, and neither is the UTF-8 form.
  const std::wstring name = L"d\u00e9j\u00e0\\caf\u00e9.pst";
  const std::string ansi = Narrow(CP_ACP, name);
  if (GetACP() == CP_UTF8 || ansi.empty()) {
    GTEST_SKIP() << "ANSI code page " << GetACP() << " cannot show the difference";
  }
  ASSERT_NE(ansi, Narrow(CP_UTF8, name));
  ASSERT_TRUE(AreFileApisANSI());
  WriteSmallFile(base + "\\" + ansi);
  EXPECT_TRUE(IsDirectory(wbase + L"\\d\u00e9j\u00e0"));
  EXPECT_TRUE(IsFile(wbase + L"\\" + name));

  const std::wstring oem_name = L"\u00fcber\\gr\u00fc\u00df.pst";
  const std::string oem = Narrow(CP_OEMCP, oem_name);
  if (oem.empty() || oem == Narrow(CP_ACP, oem_name)) {
    GTEST_SKIP() << "OEM code page " << GetOEMCP() << " cannot show the difference";
  }
  SetFileApisToOEM();
  try {
    WriteSmallFile(base + "\\" + oem);
  } catch (const FileIOException& e) {
    ADD_FAILURE() << e.what();
  }
  SetFileApisToANSI();
  EXPECT_TRUE(IsDirectory(wbase + L"\\\u00fcber"));
  EXPECT_TRUE(IsFile(wbase + L"\\" + oem_name));
}

TEST(WindowsPaths, DirectoryCreationForEveryPathForm) {
  testutil::TempDir dir;
  const std::string base = FullPath(dir.path().string());
  ASSERT_EQ(base.size() > 2 ? base[1] : '?', ':') << base;
  const std::wstring wbase = Wide(base);

  // Backslashes, forward slashes, both mixed, doubled separators.
  WriteSmallFile(base + "\\a\\b\\c\\x.pst");
  EXPECT_TRUE(IsFile(wbase + L"\\a\\b\\c\\x.pst"));
  WriteSmallFile(base + "/a/b/d/x.pst");
  EXPECT_TRUE(IsFile(wbase + L"\\a\\b\\d\\x.pst"));
  WriteSmallFile(base + "\\e/f\\\\g//x.pst");
  EXPECT_TRUE(IsFile(wbase + L"\\e\\f\\g\\x.pst"));
  // Existing directories all the way down are no failure.
  WriteSmallFile(base + "\\a\\b\\c\\y.pst");
  EXPECT_TRUE(IsFile(wbase + L"\\a\\b\\c\\y.pst"));

  // Relative to the current directory, and relative to the current drive's
  // root.
  const auto old = std::filesystem::current_path();
  std::filesystem::current_path(dir.path());
  WriteSmallFile("rel\\x.pst");
  WriteSmallFile(base.substr(2) + "\\noroot\\x.pst");
  std::filesystem::current_path(old);
  EXPECT_TRUE(IsFile(wbase + L"\\rel\\x.pst"));
  EXPECT_TRUE(IsFile(wbase + L"\\noroot\\x.pst"));

  // Extended-length paths: "\\?\C:" is a drive, not a directory to create.
  WriteSmallFile("\\\\?\\" + base + "\\long\\form\\x.pst");
  EXPECT_TRUE(IsFile(wbase + L"\\long\\form\\x.pst"));
}

TEST(WindowsPaths, FailuresCarryTheSystemText) {
  testutil::TempDir dir;
  const std::string base = dir.path().string();
  const std::string blocker = base + "\\blocker";
  WriteSmallFile(blocker);

  // What the system says about the failed CreateDirectoryW, without the
  // line break and full stop.
  CreateDirectoryW(Wide(blocker).c_str(), nullptr);
  const DWORD code = GetLastError();
  ASSERT_EQ(code, static_cast<DWORD>(ERROR_ALREADY_EXISTS));
  char* buffer = nullptr;
  const DWORD n = FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
          FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
  ASSERT_GT(n, 0u);
  std::string system_text(buffer, n);
  LocalFree(buffer);
  system_text.erase(system_text.find_last_not_of("\r\n .") + 1);
  ASSERT_FALSE(system_text.empty());

  try {
    FileStore store(blocker + "\\sub\\x.pst");
    ADD_FAILURE() << "a file in the way of a directory must fail";
  } catch (const FileIOException& e) {
    EXPECT_EQ(std::string(e.what()),
              "Virel Error: File I/O failed during directory creation on '" +
                  blocker + "\\sub': " + system_text);
  }
  // A directory standing where the file should be.
  CreateDirectoryW(Wide(base + "\\taken").c_str(), nullptr);
  EXPECT_THROW(FileStore store(base + "\\taken"), FileIOException);
  // A name Windows does not allow.
  EXPECT_THROW(FileStore store(base + "\\bad|name\\x.pst"), FileIOException);
}

TEST(WindowsFile, OpenFileIsSharedAndExistingFilesAreTruncated) {
  testutil::TempDir dir;
  const std::string path = dir.File("shared.pst");
  {
    std::ofstream old(path, std::ios::binary);
    old << std::string(100000, 'x');
  }
  FileStore store(path);
  store.WriteHeader("!BDP");
  const std::wstring wpath = Wide(path);
  HANDLE reader = CreateFileW(wpath.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(reader, INVALID_HANDLE_VALUE) << "error " << GetLastError();
  char magic[4] = {};
  DWORD got = 0;
  EXPECT_TRUE(ReadFile(reader, magic, 4, &got, nullptr));
  EXPECT_EQ(std::string(magic, got), "!BDP");
  HANDLE writer = CreateFileW(wpath.c_str(), GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_NE(writer, INVALID_HANDLE_VALUE) << "error " << GetLastError();
  if (writer != INVALID_HANDLE_VALUE) CloseHandle(writer);
  store.Allocate(1000);
  store.FlushZeros();  // the allocated zeros reach the shared file
  LARGE_INTEGER size;
  ASSERT_TRUE(GetFileSizeEx(reader, &size));
  EXPECT_EQ(size.QuadPart, 1512);
  CloseHandle(reader);
  store.Close();
  EXPECT_EQ(testutil::ReadAll(path).size(), 1512u);
}

TEST(WindowsClock, TimersRunOnThePerformanceCounter) {
  using virel::Stats;
  Stats& stats = Stats::Instance();
  stats.Reset();
  LARGE_INTEGER frequency, start, stop;
  ASSERT_TRUE(QueryPerformanceFrequency(&frequency));
  uint64_t previous = Stats::MonotonicNanos();
  QueryPerformanceCounter(&start);
  {
    virel::ScopedTimer timer("windows_sleep");
    Sleep(40);
  }
  QueryPerformanceCounter(&stop);
  for (int i = 0; i < 10000; ++i) {
    const uint64_t now = Stats::MonotonicNanos();
    ASSERT_GE(now, previous);
    previous = now;
  }
  const auto durations = stats.Durations("windows_sleep").recent;
  ASSERT_EQ(durations.size(), 1u);
  const uint64_t counted_us = static_cast<uint64_t>(
      (stop.QuadPart - start.QuadPart) * 1000000 / frequency.QuadPart);
  EXPECT_GE(durations[0], 30000u);
  EXPECT_LE(durations[0], counted_us + 1000);
  // Nanoseconds: the counter scaled, not the raw count.
  LARGE_INTEGER now;
  QueryPerformanceCounter(&now);
  const double seconds = static_cast<double>(now.QuadPart) /
                         static_cast<double>(frequency.QuadPart);
  const double reported = static_cast<double>(Stats::MonotonicNanos()) / 1e9;
  EXPECT_NEAR(reported, seconds, 0.5);
  stats.Reset();
}

}  // namespace
