#include "core/stats.h"

#include <algorithm>

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

template <typename T>
void StatSummary<T>::Add(T value) {
  min = count == 0 ? value : std::min(min, value);
  max = count == 0 ? value : std::max(max, value);
  total += value;
  ++count;
  if (recent.size() < kWindow) {
    // The whole window at once: its size no longer depends on the load.
    if (recent.capacity() < kWindow) recent.reserve(kWindow);
    recent.push_back(value);
    return;
  }
  recent[next_] = value;
  next_ = (next_ + 1) % kWindow;
}

// A copy whose window starts with the oldest entry.
template <typename U>
StatSummary<U> InOrder(const StatSummary<U>& s) {
  StatSummary<U> out = s;
  std::rotate(out.recent.begin(),
              out.recent.begin() + static_cast<std::ptrdiff_t>(s.next_),
              out.recent.end());
  out.recent.shrink_to_fit();
  out.next_ = 0;
  return out;
}

template struct StatSummary<uint64_t>;
template struct StatSummary<double>;

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

namespace {

template <typename Entries>
auto FindIn(Entries& entries, std::string_view name) -> decltype(&entries.front()) {
  for (auto& e : entries) {
    if (e.name.size() == name.size() && e.name == name) return &e;
  }
  return nullptr;
}

}  // namespace

const Stats::Entry* Stats::Find(std::string_view name) const { return FindIn(entries_, name); }

Stats::Entry& Stats::FindOrAdd(std::string_view name) {
  if (Entry* e = FindIn(entries_, name)) return *e;
  entries_.push_back(Entry());
  entries_.back().name = std::string(name);
  return entries_.back();
}

void Stats::StartTimer(std::string_view name) {
  if (g_paused != 0) return;
  const uint64_t now = MonotonicNanos();
  std::lock_guard<std::mutex> lock(mu_);
  Entry& e = FindOrAdd(name);
  e.start = now;
  e.running = true;
}

void Stats::StopTimer(std::string_view name) {
  if (g_paused != 0) return;
  const uint64_t now = MonotonicNanos();
  std::lock_guard<std::mutex> lock(mu_);
  Entry* e = FindIn(entries_, name);
  if (e == nullptr || !e->running) return;
  e->running = false;
  e->has_durations = true;
  e->durations.Add((now - e->start) / 1000);
}

void Stats::Record(std::string_view name, double value) {
  if (g_paused != 0) return;
  std::lock_guard<std::mutex> lock(mu_);
  Entry& e = FindOrAdd(name);
  e.has_values = true;
  e.values.Add(value);
}

StatSummary<uint64_t> Stats::Durations(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  const Entry* e = Find(name);
  return e == nullptr || !e->has_durations ? StatSummary<uint64_t>() : InOrder(e->durations);
}

StatSummary<double> Stats::Values(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  const Entry* e = Find(name);
  return e == nullptr || !e->has_values ? StatSummary<double>() : InOrder(e->values);
}

bool Stats::TimerRunning(const std::string& name) const {
  std::lock_guard<std::mutex> lock(mu_);
  const Entry* e = Find(name);
  return e != nullptr && e->running;
}

void Stats::Reset() {
  std::lock_guard<std::mutex> lock(mu_);
  entries_.clear();
}

}  // namespace virel
