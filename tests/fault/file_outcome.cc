#include "fault/file_outcome.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "layout.h"
#include "mailbox.h"

namespace faulttest {
namespace {

// Problems that leave every structure readable: space that no listed block
// or page covers, left by a failed add or by a retried close.
bool IsUnlistedSpace(const std::string& message) {
  return message.find("is in the file but not in the BBT") != std::string::npos ||
         message.find("covered by no listed block or page") != std::string::npos;
}

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
  v.outcome = Outcome::kInvalid;
  if (!box.loadError().empty()) {
    v.detail = box.loadError();
    return v;
  }
  for (const vread::Folder& f : box.folders()) {
    v.items += static_cast<int>(f.items.size());
  }
  for (const vread::Violation& problem : box.violations()) {
    if (!IsUnlistedSpace(problem.message) && v.detail.empty()) {
      v.detail = problem.message;
    }
  }
  const bool final_header = box.header().state == vread::HeaderState::Final;
  if (box.header().state == vread::HeaderState::Provisional) {
    if (box.violations().empty()) v.outcome = Outcome::kProvisional;
  } else if (box.complete()) {
    v.outcome = Outcome::kComplete;
  } else if (final_header && size < vread::layout::kMinFileSize) {
    v.outcome = Outcome::kShort;
  } else if (v.detail.empty()) {
    v.outcome = Outcome::kWarnings;
  }
  return v;
}

}  // namespace faulttest
