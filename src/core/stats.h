// Process-wide statistics: named timers and named series of doubles.
// Nothing in the file depends on them. Each name keeps a summary and a
// bounded window of its latest entries, so the registry's memory stays
// the same however many writers a process runs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace virel {

// The summary of one name: every entry counted, the latest kept.
template <typename T>
struct StatSummary {
  static constexpr size_t kWindow = 4096;  // latest entries kept per name

  uint64_t count = 0;
  T total = 0;
  T min = 0;
  T max = 0;
  std::vector<T> recent;  // the latest entries, oldest first

  void Add(T value);

 private:
  size_t next_ = 0;  // slot of the oldest entry once the window is full
  template <typename U>
  friend StatSummary<U> InOrder(const StatSummary<U>& s);
};

class Stats {
 public:
  static Stats& Instance();

  // Stores the current monotonic time (ns) under `name`, replacing a
  // running measurement of the same name.
  void StartTimer(std::string_view name);
  // Adds the elapsed microseconds to the name's durations, if started.
  void StopTimer(std::string_view name);
  void Record(std::string_view name, double value);

  // Read accessors for tests; an unknown name gives an empty summary.
  StatSummary<uint64_t> Durations(const std::string& name) const;
  StatSummary<double> Values(const std::string& name) const;
  bool TimerRunning(const std::string& name) const;
  void Reset();

  static uint64_t MonotonicNanos();

 private:
  Stats() = default;
  // Everything kept under one name. The few names live in a list that is
  // searched by length and bytes, so a lookup allocates and hashes nothing.
  struct Entry {
    std::string name;
    uint64_t start = 0;
    bool running = false;
    bool has_durations = false;
    bool has_values = false;
    StatSummary<uint64_t> durations;
    StatSummary<double> values;
  };
  const Entry* Find(std::string_view name) const;
  Entry& FindOrAdd(std::string_view name);

  mutable std::mutex mu_;
  std::vector<Entry> entries_;
};

// Nothing is recorded on this thread while one of these lives: planning
// runs of the serialisers must not show up as work done.
class StatsPause {
 public:
  StatsPause();
  ~StatsPause();
  StatsPause(const StatsPause&) = delete;
  StatsPause& operator=(const StatsPause&) = delete;
};

// Times a scope under one name.
class ScopedTimer {
 public:
  explicit ScopedTimer(const char* name) : name_(name) {
    Stats::Instance().StartTimer(name_);
  }
  ~ScopedTimer() { Stats::Instance().StopTimer(name_); }
  ScopedTimer(const ScopedTimer&) = delete;
  ScopedTimer& operator=(const ScopedTimer&) = delete;

 private:
  const char* name_;
};

// The names in use.
namespace stat {
inline constexpr char kClose[] = "close";
inline constexpr char kCompact[] = "compact";
inline constexpr char kBlockAllocate[] = "block_allocate";
inline constexpr char kBlockReuse[] = "block_reuse";
inline constexpr char kBlockNewAllocation[] = "block_new_allocation";
inline constexpr char kSerializeMessage[] = "serialize_message";
inline constexpr char kMessageSerializedSize[] = "message_serialized_size";
inline constexpr char kSerializeEvent[] = "serialize_event";
inline constexpr char kEventSerializedSize[] = "event_serialized_size";
inline constexpr char kSerializeAttachments[] = "serialize_attachments";
inline constexpr char kTotalAttachmentSize[] = "total_attachment_size";
inline constexpr char kAverageAttachmentSize[] = "average_attachment_size";
}  // namespace stat

}  // namespace virel
