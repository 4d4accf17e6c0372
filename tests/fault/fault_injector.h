// An I/O hook for tests: counts the file store's writes, flushes and closes
// and fails the N-th one the way a real disk would.
#pragma once

#include <cstdint>

#include "ndb/io_hook.h"

namespace faulttest {

enum class Fault {
  kNone,        // only count
  kEio,         // the N-th call fails, later ones succeed
  kNoSpace,     // the N-th call and every later one fail: the disk is full
  kShortWrite,  // the N-th call puts half its bytes, then fails
};

const char* FaultName(Fault fault);
const char* OpName(virel::ndb::IoOp op);

class FaultInjector : public virel::ndb::IoHook {
 public:
  // Counts calls from 1; `target` 0 never fails.
  FaultInjector(uint64_t target, Fault fault) : target_(target), fault_(fault) {}

  virel::ndb::IoFault Before(const virel::ndb::IoRequest& request) override;

  uint64_t calls() const { return calls_; }
  // How many calls were failed so far.
  uint64_t fired() const { return fired_; }
  // The kind of the first failed call.
  virel::ndb::IoOp first_op() const { return first_op_; }

 private:
  bool Fails() const;

  uint64_t target_;
  Fault fault_;
  uint64_t calls_ = 0;
  uint64_t fired_ = 0;
  virel::ndb::IoOp first_op_ = virel::ndb::IoOp::kWrite;
};

// Installs an injector for a scope.
class ScopedHook {
 public:
  explicit ScopedHook(virel::ndb::IoHook* hook) { virel::ndb::SetIoHook(hook); }
  ~ScopedHook() { virel::ndb::SetIoHook(nullptr); }
  ScopedHook(const ScopedHook&) = delete;
  ScopedHook& operator=(const ScopedHook&) = delete;
};

}  // namespace faulttest
