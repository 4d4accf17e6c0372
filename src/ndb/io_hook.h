// A seam under the file store for tests: it sees every write, flush and
// close before it happens and may make it fail. Nothing installs one in
// normal use, and then it costs one atomic load per call.
#pragma once

#include <cstddef>
#include <cstdint>

namespace virel {
namespace ndb {

enum class IoOp : uint8_t { kWrite, kFlush, kClose };

struct IoRequest {
  IoOp op = IoOp::kWrite;
  uint64_t offset = 0;  // where a write lands
  const void* data = nullptr;
  size_t size = 0;
};

// What the hook decides for one request.
struct IoFault {
  bool fail = false;
  size_t written = 0;       // a failing write still puts this many bytes first
  const char* detail = "";  // the failure's text, as the system would give it
};

class IoHook {
 public:
  virtual ~IoHook() = default;
  virtual IoFault Before(const IoRequest& request) = 0;
};

// Installs the process-wide hook; nullptr removes it.
void SetIoHook(IoHook* hook);
IoHook* CurrentIoHook();

}  // namespace ndb
}  // namespace virel
