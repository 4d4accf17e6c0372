#include "core/stats.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <chrono>
#endif

namespace virel {
namespace {
thread_local int g_paused = 0;
}  // namespace

StatsPause::StatsPause() { ++g_paused; }
StatsPause::~StatsPause() { --g_paused; }

Stats& Stats::Instance() {
  static Stats* instance = new Stats();  // never destroyed: usable at exit
  return *instance;
}

uint64_t Stats::MonotonicNanos() {
#ifdef _WIN32
  LARGE_INTEGER freq, now;
  QueryPerformanceFrequency(&freq);
  QueryPerformanceCounter(&now);
  const uint64_t f = static_cast<uint64_t>(freq.QuadPart);
  const uint64_t t = static_cast<uint64_t>(now.QuadPart);
  return (t / f) * 1000000000ull + (t % f) * 1000000000ull / f;
#else
  return static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(
          std::chrono::steady_clock::now().time_since_epoch())
          .count());
#endif
}

void Stats::StartTimer(const std::string& name) {
  if (g_paused != 0) return;
  const uint64_t now = MonotonicNanos();
  std::lock_guard<std::mutex> lock(mu_);
  running_[name] = now;
}

void Stats::StopTimer(const std::string& name) {
  if (g_paused != 0) return;
  const uint64_t now = MonotonicNanos();
  std::lock_guard<std::mutex> lock(mu_);
  auto it = running_.find(name);
  if (it == running_.end()) return;
  durations_[name].push_back((now - it->second) / 1000);
  running_.erase(it);
}

void Stats::Record(const std::string& name, double value) {
  if (g_paused != 0) return;
  std::lock_guard<std::mutex> lock(mu_);
  values_[name].push_back(value);
}

std::vector<uint64_t> Stats::Durations(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  auto it = durations_.find(name);
  return it == durations_.end() ? std::vector<uint64_t>() : it->second;
}

std::vector<double> Stats::Values(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  auto it = values_.find(name);
  return it == values_.end() ? std::vector<double>() : it->second;
}

bool Stats::TimerRunning(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  return running_.count(name) != 0;
}

void Stats::Reset() {
  std::lock_guard<std::mutex> lock(mu_);
  running_.clear();
  durations_.clear();
  values_.clear();
}

}  // namespace virel
