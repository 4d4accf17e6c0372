// The memory a process holds must not grow with the number of writers it
// has run: counted by replacing the global allocation functions.
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>

#include <gtest/gtest.h>

#include "core/stats.h"
#include "unit/test_util.h"
#include "virel.h"

namespace {

std::atomic<int64_t> g_live_bytes{0};

// Each block carries its size in front so that delete can count it.
constexpr size_t kPrefix = alignof(std::max_align_t);

void* Allocate(size_t size) {
  void* raw = std::malloc(size + kPrefix);
  if (raw == nullptr) throw std::bad_alloc();
  *static_cast<size_t*>(raw) = size;
  g_live_bytes += static_cast<int64_t>(size);
  return static_cast<char*>(raw) + kPrefix;
}

void Release(void* p) noexcept {
  if (p == nullptr) return;
  void* raw = static_cast<char*>(p) - kPrefix;
  g_live_bytes -= static_cast<int64_t>(*static_cast<size_t*>(raw));
  std::free(raw);
}

}  // namespace

void* operator new(size_t size) { return Allocate(size); }
void* operator new[](size_t size) { return Allocate(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  try {
    return Allocate(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
void operator delete(void* p) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete(void* p, size_t) noexcept { Release(p); }
void operator delete[](void* p, size_t) noexcept { Release(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { Release(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { Release(p); }

namespace {

// Writes `count` small mailboxes, each opened, filled, closed, destroyed.
void RunWriters(const std::string& path, int count) {
  for (int i = 0; i < count; ++i) {
    virel_writer* w = virel_create_writer(path.c_str());
    ASSERT_NE(w, nullptr);
    ASSERT_NE(virel_add_message_simple(w, "Inbox", "Subject", "Body"), 0u);
    virel_event* e = virel_create_event();
    virel_event_set_start_time(e, 1700000000);
    ASSERT_NE(virel_writer_add_event(w, nullptr, e), 0u);
    virel_destroy_event(e);
    virel_close(w);
    virel_destroy_writer(w);
  }
}

TEST(RegistryMemory, ConstantAcrossTenAndTenThousandWriters) {
  const std::string path =
      (testutil::ScratchBase() /
       ("virel_registry_memory_" + testutil::RunId() + ".pst"))
          .string();
  virel::Stats& stats = virel::Stats::Instance();
  stats.Reset();

  RunWriters(path, 10);
  const int64_t after_ten = g_live_bytes.load();
  const uint64_t closes_after_ten = stats.Durations(virel::stat::kClose).count;
  RunWriters(path, 10000);
  const int64_t after_many = g_live_bytes.load();

  // Every writer was measured, and the measurements took no more room.
  EXPECT_EQ(stats.Durations(virel::stat::kClose).count, closes_after_ten + 10000);
  EXPECT_GT(stats.Values(virel::stat::kBlockNewAllocation).count,
            virel::StatSummary<double>::kWindow);
  EXPECT_LE(after_many - after_ten, 1024) << "held after 10: " << after_ten
                                          << " bytes, after 10,010: " << after_many;
  std::error_code ec;
  std::filesystem::remove(path, ec);
  stats.Reset();
}

}  // namespace
