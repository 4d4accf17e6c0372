#include "violations.h"

#include <cstdio>

namespace vread {

void ViolationLog::add(std::uint64_t offset, const std::string& message) {
  std::string text;
  for (const auto& c : context_) text += c + ": ";
  items_.push_back({offset, text + message});
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
