#include "violations.h"

#include <cstdio>

namespace vread {

std::string ViolationLog::prefix() const {
  std::string text;
  for (const auto& c : context_) text += c + ": ";
  return text;
}

void ViolationLog::add(std::uint64_t offset, const std::string& message) {
  items_.push_back({offset, prefix() + message});
}

void ViolationLog::warn(std::uint64_t offset, std::uint64_t size, const std::string& message) {
  warnings_.push_back({offset, size, prefix() + message});
}

ViolationLog::Scope::Scope(ViolationLog& log, const std::string& context) : log_(log) {
  log_.context_.push_back(context);
}

ViolationLog::Scope::~Scope() { log_.context_.pop_back(); }

std::string hex(std::uint64_t value) {
  char buf[24];
  std::snprintf(buf, sizeof buf, "0x%llX", static_cast<unsigned long long>(value));
  return buf;
}

}  // namespace vread
