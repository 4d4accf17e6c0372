#include "fault/file_outcome.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "layout.h"
#include "mailbox.h"

namespace faulttest {
namespace {

// The whole file in one read.
vread::Bytes ReadFile(const std::string& path, uint64_t size) {
  vread::Bytes bytes(static_cast<size_t>(size));
  std::ifstream in(path, std::ios::binary);
  in.read(reinterpret_cast<char*>(bytes.data()),
          static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<size_t>(in.gcount()));
  return bytes;
}

}  // namespace

const char* OutcomeName(Outcome outcome) {
  switch (outcome) {
    case Outcome::kNoFile: return "no file";
    case Outcome::kProvisional: return "provisional";
    case Outcome::kComplete: return "complete";
    case Outcome::kWarnings: return "complete, with warnings";
    case Outcome::kShort: return "short";
    case Outcome::kInvalid: return "invalid";
  }
  return "?";
}

Verdict Classify(const std::string& path) {
  Verdict v;
  std::error_code ec;
  const uint64_t size = std::filesystem::file_size(path, ec);
  if (ec || size == 0) return v;
  const vread::Mailbox box = vread::Mailbox::fromBytes(ReadFile(path, size));
  for (const vread::Folder& f : box.folders()) {
    v.items += static_cast<int>(f.items.size());
  }
  if (!box.loadError().empty()) v.detail = box.loadError();
  if (!box.violations().empty()) v.detail = box.violations().front().message;
  switch (box.status()) {
    case vread::FileStatus::Provisional:
      v.outcome = Outcome::kProvisional;
      break;
    case vread::FileStatus::Complete:
      v.outcome = Outcome::kComplete;
      break;
    case vread::FileStatus::CompleteWithWarnings:
      v.outcome = Outcome::kWarnings;
      break;
    case vread::FileStatus::Invalid:
      const bool short_final = box.header().state == vread::HeaderState::Final &&
                               size < vread::layout::kMinFileSize;
      v.outcome = short_final ? Outcome::kShort : Outcome::kInvalid;
      break;
  }
  return v;
}

}  // namespace faulttest
