#include "progress.h"

#include <cstdio>

namespace vimport {
namespace {
constexpr auto kRedrawInterval = std::chrono::milliseconds(250);
}  // namespace

Progress::Progress(bool enabled)
    : enabled_(enabled), start_(Clock::now()), last_(start_) {}

void Progress::Update(size_t items, size_t files) {
  if (!enabled_) return;
  const Clock::time_point now = Clock::now();
  if (now - last_ < kRedrawInterval) return;
  last_ = now;
  const double seconds = std::chrono::duration<double>(now - start_).count();
  std::fprintf(stderr, "\r%zu items, %.0f items/s, %zu files so far ", items,
               seconds > 0 ? static_cast<double>(items) / seconds : 0.0, files);
  std::fflush(stderr);
  drawn_ = true;
}

void Progress::Finish() {
  if (!drawn_) return;
  std::fprintf(stderr, "\r\033[K");
  std::fflush(stderr);
  drawn_ = false;
}

}  // namespace vimport
