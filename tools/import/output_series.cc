#include "output_series.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "core/writer_impl.h"
#include "output_paths.h"
#include "records.h"

namespace vimport {
namespace {

constexpr char kRefusedReason[] =
    "refused by the writer: its texts or recipients pass one property heap "
    "page, or it has too many attachments";
constexpr char kTooLargeReason[] =
    "too large for an empty output file (node or block limit)";

Placement Rejected(std::string reason) {
  Placement p;
  p.status = PlaceStatus::kRejected;
  p.reason = std::move(reason);
  return p;
}

}  // namespace

OutputSeries::OutputSeries(std::string first_path)
    : first_path_(std::move(first_path)) {}

OutputSeries::~OutputSeries() { CloseCurrent(); }

virel::Virel::Impl& OutputSeries::Current() {
  if (!writer_) {
    const std::string path = SeriesPath(first_path_, static_cast<int>(files_.size()) + 1);
    try {
      writer_.reset(new virel::Virel(path));
    } catch (const std::exception& e) {
      throw OutputError(path + ": cannot create: " + e.what());
    }
    files_.push_back({path, 0, 0});
  }
  return writer_->impl();
}

bool OutputSeries::CurrentEmpty() const {
  return !writer_ || (files_.back().messages == 0 && files_.back().events == 0);
}

bool OutputSeries::CloseCurrent() {
  if (!writer_) return true;
  try {
    writer_->impl().close();
  } catch (const std::exception& e) {
    errors_.push_back(files_.back().path + ": closing failed: " + e.what());
    // Destroying a writer whose close failed would end the process.
    (void)writer_.release();
    return false;
  }
  writer_.reset();
  return true;
}

bool OutputSeries::Close() { return CloseCurrent(); }

Placement OutputSeries::Written(uint64_t nid, bool moved) const {
  Placement p;
  p.status = moved ? PlaceStatus::kWrittenMovedBody : PlaceStatus::kWritten;
  p.file = static_cast<int>(files_.size()) - 1;
  p.nid = nid;
  return p;
}

Placement OutputSeries::AddMessage(const std::string& folder,
                                   virel::MessageRecord m) {
  try {
    return TryAddMessage(folder, &m);
  } catch (const OutputError&) {
    throw;
  } catch (const std::exception& e) {
    return Rejected(e.what());
  }
}

Placement OutputSeries::AddEvent(const std::string& folder,
                                 const virel::EventRecord& e) {
  try {
    return TryAddEvent(folder, e);
  } catch (const OutputError&) {
    throw;
  } catch (const std::exception& ex) {
    return Rejected(ex.what());
  }
}

Placement OutputSeries::TryAddMessage(const std::string& folder,
                                      virel::MessageRecord* m) {
  const auto check = [&] { return Current().CheckMessage(folder, *m); };
  bool moved = false;
  virel::Fit fit = check();
  while (fit == virel::Fit::kItemRefused && MoveBodyToAttachment(m)) {
    moved = true;
    fit = check();
  }
  return Place(fit, moved, check, [&] { return Current().AddMessage(folder, *m); },
               &OutputFile::messages);
}

Placement OutputSeries::TryAddEvent(const std::string& folder,
                                    const virel::EventRecord& e) {
  const auto check = [&] { return Current().CheckEvent(folder, e); };
  return Place(check(), false, check,
               [&] { return Current().AddEvent(folder, e); }, &OutputFile::events);
}

template <typename Check, typename Add>
Placement OutputSeries::Place(virel::Fit fit, bool moved, const Check& check,
                              const Add& add, size_t OutputFile::*count) {
  if (fit == virel::Fit::kItemRefused) return Rejected(kRefusedReason);
  if (fit == virel::Fit::kFileFull && !CurrentEmpty()) {
    if (!CloseCurrent()) return Rejected(errors_.back());
    fit = check();
  }
  if (fit != virel::Fit::kFits) return Rejected(kTooLargeReason);
  const uint64_t nid = add();
  ++(files_.back().*count);
  return Written(nid, moved);
}

}  // namespace vimport
