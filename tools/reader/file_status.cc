#include "file_status.h"

namespace vread {

const char* statusName(FileStatus status) {
  switch (status) {
    case FileStatus::Provisional: return "provisional";
    case FileStatus::Complete: return "complete";
    case FileStatus::CompleteWithWarnings: return "complete, with warnings";
    case FileStatus::Invalid: return "invalid";
  }
  return "invalid";
}

}  // namespace vread
