#include "fault/fault_injector.h"

namespace faulttest {

using virel::ndb::IoFault;
using virel::ndb::IoOp;
using virel::ndb::IoRequest;

const char* FaultName(Fault fault) {
  switch (fault) {
    case Fault::kNone: return "none";
    case Fault::kEio: return "EIO";
    case Fault::kNoSpace: return "ENOSPC";
    case Fault::kShortWrite: return "short write";
  }
  return "?";
}

const char* OpName(IoOp op) {
  switch (op) {
    case IoOp::kWrite: return "write";
    case IoOp::kFlush: return "flush";
    case IoOp::kClose: return "close";
  }
  return "?";
}

bool FaultInjector::Fails() const {
  if (fault_ == Fault::kNone || target_ == 0 || calls_ < target_) return false;
  return calls_ == target_ || fault_ == Fault::kNoSpace;
}

IoFault FaultInjector::Before(const IoRequest& request) {
  ++calls_;
  IoFault result;
  if (!Fails()) return result;
  if (fired_++ == 0) first_op_ = request.op;
  result.fail = true;
  switch (fault_) {
    case Fault::kShortWrite:
      result.written = request.size / 2;
      result.detail = "short write";
      break;
    case Fault::kNoSpace:
      result.detail = "No space left on device";
      break;
    default:
      result.detail = "Input/output error";
      break;
  }
  return result;
}

}  // namespace faulttest
