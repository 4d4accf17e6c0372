// Collects every inconsistency found in a file, each with its file offset.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vread {

struct Violation {
  std::uint64_t offset = 0;  // file offset of the offending bytes
  std::string message;       // what is wrong, prefixed with where it was found
};

class ViolationLog {
 public:
  void add(std::uint64_t offset, const std::string& message);
  const std::vector<Violation>& all() const { return items_; }
  bool empty() const { return items_.empty(); }
  std::size_t size() const { return items_.size(); }

  // Prefix for messages added while a Scope is alive ("node 0x202").
  class Scope {
   public:
    Scope(ViolationLog& log, const std::string& context);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    ViolationLog& log_;
  };

 private:
  std::vector<Violation> items_;
  std::vector<std::string> context_;
};

// Formats a number as 0x-prefixed upper-case hexadecimal.
std::string hex(std::uint64_t value);

}  // namespace vread
