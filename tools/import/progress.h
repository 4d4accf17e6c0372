// A one-line progress display on stderr, shown only on a terminal.
#pragma once

#include <chrono>
#include <cstddef>

namespace vimport {

class Progress {
 public:
  explicit Progress(bool enabled);
  // Redraws the line, at most a few times a second.
  void Update(size_t items, size_t files);
  // Clears the line.
  void Finish();

 private:
  using Clock = std::chrono::steady_clock;
  bool enabled_;
  bool drawn_ = false;
  Clock::time_point start_;
  Clock::time_point last_;
};

}  // namespace vimport
