// Process-wide statistics: named timers and named series of doubles.
// Nothing in the file depends on them; tests read them back.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace virel {

class Stats {
 public:
  static Stats& Instance();

  // Stores the current monotonic time (ns) under `name`, replacing a
  // running measurement of the same name.
  void StartTimer(const std::string& name);
  // Appends the elapsed microseconds to the name's durations, if started.
  void StopTimer(const std::string& name);
  void Record(const std::string& name, double value);

  // Read accessors for tests.
  std::vector<uint64_t> Durations(const std::string& name) const;
  std::vector<double> Values(const std::string& name) const;
  bool TimerRunning(const std::string& name) const;
  void Reset();

  static uint64_t MonotonicNanos();

 private:
  Stats() = default;
  mutable std::mutex mu_;
  std::map<std::string, uint64_t> running_;
  std::map<std::string, std::vector<uint64_t>> durations_;
  std::map<std::string, std::vector<double>> values_;
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
