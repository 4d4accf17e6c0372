#include "importer.h"

#include <exception>
#include <string_view>
#include <utility>

#include "decode_ahead.h"
#include "ical_reader.h"
#include "input_file.h"
#include "input_scan.h"
#include "output_series.h"
#include "records.h"
#include "rejected_items.h"

namespace vimport {
namespace {

constexpr char kDefaultMessageFolder[] = "Inbox";

const char* KindName(SourceKind kind) {
  switch (kind) {
    case SourceKind::kMbox:
      return "mbox";
    case SourceKind::kCalendar:
      return "calendar";
    case SourceKind::kMessage:
      break;
  }
  return "message";
}

ItemOutcome NewOutcome(const std::string& path, std::optional<size_t> index,
                       ItemKind kind) {
  ItemOutcome outcome;
  outcome.path = path;
  outcome.index = index;
  outcome.kind = kind;
  return outcome;
}

class Importer {
 public:
  Importer(const ImportOptions& options, Progress* progress, ImportReport* report)
      : options_(options),
        progress_(progress),
        report_(report),
        series_(options.output),
        rejected_(options.output) {}

  void Run() {
    ScanResult scan = ScanInputs(options_.inputs);
    report_->errors = scan.errors;
    report_->skipped = scan.skipped;
    try {
      if (!scan.sources.empty() || scan.errors.empty()) series_.Open();
      const std::vector<Source>& sources = scan.sources;
      for (size_t i = 0; i < sources.size();) {
        // A run of message files is decoded ahead as one.
        size_t end = i;
        while (end < sources.size() && sources[end].kind == SourceKind::kMessage) ++end;
        if (end > i) {
          ReadMessageFiles(sources, i, end);
          i = end;
        } else {
          Read(sources[i++]);
        }
      }
    } catch (const std::exception& e) {
      // The output cannot be written: nothing further can be imported.
      report_->errors.push_back(e.what());
    }
    Finish();
  }

 private:
  std::string FolderOf(const Source& source) const {
    std::string folder = options_.folder.value_or(source.folder);
    return folder.empty() ? kDefaultMessageFolder : folder;
  }

  void CannotRead(const std::string& path) {
    report_->errors.push_back(path + ": cannot read");
  }

  // An mbox or a calendar.
  void Read(const Source& source) {
    report_->inputs.push_back({source.path, KindName(source.kind), {}});
    if (source.kind != SourceKind::kCalendar) {
      Mbox(source);
      return;
    }
    InputFile file;
    if (!file.Open(source.path)) {
      CannotRead(source.path);
      return;
    }
    Calendar(source.path, std::string(file.bytes()));
  }

  void Mbox(const Source& source) {
    auto mbox = std::make_shared<MboxStream>(source.path);
    if (!mbox->is_open()) {
      CannotRead(source.path);
      return;
    }
    const std::string folder = FolderOf(source);
    {
      DecodeAhead decoder(MboxMessages(mbox, source.path));
      DecodedMessage m;
      for (size_t i = 0; decoder.Next(&m); ++i) Message(source.path, i, &m, folder);
    }
    if (mbox->failed()) report_->errors.push_back(source.path + ": read failed");
  }

  // The message files sources[begin, end).
  void ReadMessageFiles(const std::vector<Source>& sources, size_t begin, size_t end) {
    std::vector<std::string> paths;
    for (size_t i = begin; i < end; ++i) paths.push_back(sources[i].path);
    DecodeAhead decoder(MessageFiles(std::move(paths)));
    DecodedMessage m;
    for (size_t i = begin; i < end && decoder.Next(&m); ++i) {
      const Source& source = sources[i];
      report_->inputs.push_back({source.path, KindName(source.kind), {}});
      if (!m.readable) {
        CannotRead(source.path);
        continue;
      }
      Message(source.path, std::nullopt, &m, FolderOf(source));
    }
  }

  void Message(const std::string& path, std::optional<size_t> index,
               DecodedMessage* m, const std::string& folder) {
    ItemOutcome outcome = NewOutcome(path, index, ItemKind::kMessage);
    outcome.problems = std::move(m->item.problems);
    const Placement p = series_.AddMessage(folder, ToMessageRecord(std::move(m->item)));
    if (p.status == PlaceStatus::kRejected) rejected_.AddMessage(m->Raw());
    Record(&outcome, p, folder);
  }

  void Calendar(const std::string& path, const std::string& raw) {
    std::vector<std::string> errors;
    const std::vector<EventItem> events = ParseCalendar(raw, &errors);
    report_->inputs.back().problems = errors;
    for (size_t i = 0; i < events.size(); ++i) {
      ItemOutcome outcome = NewOutcome(path, i, ItemKind::kEvent);
      outcome.not_carried = events[i].dropped;
      const Placement p =
          series_.AddEvent(options_.calendar, ToEventRecord(events[i]));
      if (p.status == PlaceStatus::kRejected) rejected_.AddEvent(events[i].source);
      Record(&outcome, p, options_.calendar);
    }
  }

  void Record(ItemOutcome* outcome, const Placement& p, const std::string& folder) {
    outcome->status = p.status;
    if (p.status == PlaceStatus::kRejected) {
      outcome->reason = p.reason;
    } else {
      outcome->file = series_.files()[static_cast<size_t>(p.file)].path;
      outcome->folder = folder;
      outcome->nid = p.nid;
    }
    report_->items.push_back(std::move(*outcome));
    progress_->Update(report_->items.size(), series_.files().size());
  }

  void Finish() {
    series_.Close();
    try {
      rejected_.Close();
    } catch (const std::exception& e) {
      report_->errors.push_back(e.what());
    }
    progress_->Finish();
    report_->files = series_.files();
    for (const std::string& e : series_.errors()) report_->errors.push_back(e);
    if (rejected_.wrote_mbox()) report_->rejected_mbox = rejected_.mbox_path();
    if (rejected_.wrote_ics()) report_->rejected_ics = rejected_.ics_path();
  }

  const ImportOptions& options_;
  Progress* progress_;
  ImportReport* report_;
  OutputSeries series_;
  RejectedItems rejected_;
};

}  // namespace

ImportReport RunImport(const ImportOptions& options, Progress* progress) {
  ImportReport report;
  Importer(options, progress, &report).Run();
  return report;
}

int ExitCode(const ImportReport& report) {
  if (!report.errors.empty()) return kExitFailure;
  if (report.Count(PlaceStatus::kRejected) > 0) return kExitSomeRejected;
  return kExitAllWritten;
}

}  // namespace vimport
