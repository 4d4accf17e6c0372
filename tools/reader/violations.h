// Collects every inconsistency found in a file, each with its file offset.
// Violations break a structure; warnings mark space or records that no
// structure needs (left by a failed write, for instance) while every
// structure stays readable.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vread {

struct Violation {
  std::uint64_t offset = 0;  // file offset of the offending bytes
  std::string message;       // what is wrong, prefixed with where it was found
};

// Bytes that no structure of the file needs.
struct Warning {
  std::uint64_t offset = 0;
  std::uint64_t size = 0;  // bytes from `offset`
  std::string message;
};

class ViolationLog {
 public:
  void add(std::uint64_t offset, const std::string& message);
  void warn(std::uint64_t offset, std::uint64_t size, const std::string& message);
  const std::vector<Violation>& all() const { return items_; }
  const std::vector<Warning>& warnings() const { return warnings_; }
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
  std::string prefix() const;

  std::vector<Violation> items_;
  std::vector<Warning> warnings_;
  std::vector<std::string> context_;
};

// Formats a number as 0x-prefixed upper-case hexadecimal.
std::string hex(std::uint64_t value);

}  // namespace vread
