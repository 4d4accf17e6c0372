// The series of output files OUT.pst, OUT-2.pst, OUT-3.pst...: items go
// into the current file until the next one would keep it from closing,
// then a new file starts. Every file is closed complete.
#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/virel.h"
#include "core/writer_impl.h"
#include "messaging/records.h"

namespace vimport {

// An output file that cannot be created: the import cannot go on.
class OutputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

enum class PlaceStatus { kWritten, kWrittenMovedBody, kRejected };

struct Placement {
  PlaceStatus status = PlaceStatus::kRejected;
  int file = 0;  // index into files(), when written
  uint64_t nid = 0;
  std::string reason;  // why it was rejected
};

struct OutputFile {
  std::string path;
  size_t messages = 0;
  size_t events = 0;
};

class OutputSeries {
 public:
  explicit OutputSeries(std::string first_path);
  // Closes the last file; a failure there is not reported.
  ~OutputSeries();
  OutputSeries(const OutputSeries&) = delete;
  OutputSeries& operator=(const OutputSeries&) = delete;

  // Creates the first file now, so an import of no items still leaves an
  // empty mailbox and an unwritable path shows at once. Throws OutputError.
  void Open() { Current(); }

  // Opening a file that cannot be created throws OutputError; any other
  // failure rejects the item.
  Placement AddMessage(const std::string& folder, virel::MessageRecord m);
  Placement AddEvent(const std::string& folder, const virel::EventRecord& e);

  // Closes the current file; false if closing failed.
  bool Close();

  const std::vector<OutputFile>& files() const { return files_; }
  // Files that failed to close, with the reason.
  const std::vector<std::string>& errors() const { return errors_; }

 private:
  virel::Virel::Impl& Current();
  bool CurrentEmpty() const;
  bool CloseCurrent();
  Placement Written(uint64_t nid, bool moved) const;
  Placement TryAddMessage(const std::string& folder, virel::MessageRecord* m);
  Placement TryAddEvent(const std::string& folder, const virel::EventRecord& e);
  // Writes the item if it fits here or in a new file; `fit` is the
  // current file's answer so far.
  template <typename Check, typename Add>
  Placement Place(virel::Fit fit, bool moved, const Check& check,
                  const Add& add, size_t OutputFile::*count);

  std::string first_path_;
  std::unique_ptr<virel::Virel> writer_;
  std::vector<OutputFile> files_;
  std::vector<std::string> errors_;
};

}  // namespace vimport
