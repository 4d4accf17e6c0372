// The writer object behind a virel_writer handle.
#pragma once

#include <memory>
#include <string>

namespace virel {

class Virel {
 public:
  class Impl;

  // Opens the writer: creates the file and its initial structures.
  explicit Virel(const std::string& path);
  // Closes first. Non-throwing: a failure of that close ends the process.
  ~Virel();
  Virel(const Virel&) = delete;
  Virel& operator=(const Virel&) = delete;

  Impl& impl() { return *impl_; }

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace virel
