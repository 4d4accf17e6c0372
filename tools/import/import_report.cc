#include "import_report.h"

#include <map>
#include <nlohmann/json.hpp>

namespace vimport {
namespace {

const char* StatusName(PlaceStatus s) {
  switch (s) {
    case PlaceStatus::kWritten:
      return "written";
    case PlaceStatus::kWrittenMovedBody:
      return "written-with-moved-body";
    case PlaceStatus::kRejected:
      break;
  }
  return "rejected";
}

const char* KindName(ItemKind k) {
  return k == ItemKind::kEvent ? "event" : "message";
}

nlohmann::json ItemJson(const ItemOutcome& item) {
  nlohmann::json source = {{"path", item.path}};
  if (item.index) source["index"] = *item.index;
  nlohmann::json j = {{"source", source},
                      {"kind", KindName(item.kind)},
                      {"status", StatusName(item.status)}};
  if (item.status == PlaceStatus::kRejected) {
    j["reason"] = item.reason;
  } else {
    j["file"] = item.file;
    j["folder"] = item.folder;
    j["nid"] = item.nid;
  }
  if (!item.problems.empty()) j["problems"] = item.problems;
  if (!item.not_carried.empty()) j["not_carried"] = item.not_carried;
  return j;
}

// Rejection reasons with how often each occurred.
std::map<std::string, size_t> Reasons(const ImportReport& report) {
  std::map<std::string, size_t> reasons;
  for (const ItemOutcome& item : report.items) {
    if (item.status == PlaceStatus::kRejected) ++reasons[item.reason];
  }
  return reasons;
}

size_t ItemsWithProblems(const ImportReport& report) {
  size_t n = 0;
  for (const ItemOutcome& item : report.items) n += item.problems.empty() ? 0 : 1;
  return n;
}

// Event parts the writer cannot hold, with how many events had each.
std::map<std::string, size_t> NotCarried(const ImportReport& report) {
  std::map<std::string, size_t> parts;
  for (const ItemOutcome& item : report.items) {
    for (const std::string& part : item.not_carried) ++parts[part];
  }
  return parts;
}

}  // namespace

size_t ImportReport::Count(ItemKind kind) const {
  size_t n = 0;
  for (const ItemOutcome& item : items) n += item.kind == kind ? 1 : 0;
  return n;
}

size_t ImportReport::Count(PlaceStatus status) const {
  size_t n = 0;
  for (const ItemOutcome& item : items) n += item.status == status ? 1 : 0;
  return n;
}

void PrintSummary(const ImportReport& report, std::ostream& out) {
  const size_t moved = report.Count(PlaceStatus::kWrittenMovedBody);
  out << "inputs: " << report.inputs.size() << " files\n"
      << "read: " << report.Count(ItemKind::kMessage) << " messages, "
      << report.Count(ItemKind::kEvent) << " events\n"
      << "written: " << report.Count(PlaceStatus::kWritten) + moved
      << " (bodies moved into attachments: " << moved << ")\n"
      << "rejected: " << report.Count(PlaceStatus::kRejected) << "\n";
  for (const auto& [reason, n] : Reasons(report)) {
    out << "  " << n << " x " << reason << "\n";
  }
  if (const size_t n = ItemsWithProblems(report)) {
    out << "items with decoding problems: " << n << " (listed by --json)\n";
  }
  for (const auto& [part, n] : NotCarried(report)) {
    out << "not carried into the file: " << part << " (" << n << " events)\n";
  }
  for (const OutputFile& f : report.files) {
    out << "file " << f.path << ": " << f.messages << " messages, " << f.events
        << " events\n";
  }
  if (!report.rejected_mbox.empty()) out << "rejected messages kept in " << report.rejected_mbox << "\n";
  if (!report.rejected_ics.empty()) out << "rejected events kept in " << report.rejected_ics << "\n";
  for (const InputSummary& in : report.inputs) {
    for (const std::string& p : in.problems) out << "problem: " << in.path << ": " << p << "\n";
  }
  for (const std::string& s : report.skipped) out << "skipped (no mail): " << s << "\n";
  for (const std::string& e : report.errors) out << "error: " << e << "\n";
}

void PrintJson(const ImportReport& report, std::ostream& out) {
  nlohmann::json inputs = nlohmann::json::array();
  for (const InputSummary& in : report.inputs) {
    nlohmann::json j = {{"path", in.path}, {"kind", in.kind}};
    if (!in.problems.empty()) j["problems"] = in.problems;
    inputs.push_back(j);
  }
  nlohmann::json items = nlohmann::json::array();
  for (const ItemOutcome& item : report.items) items.push_back(ItemJson(item));
  nlohmann::json files = nlohmann::json::array();
  for (const OutputFile& f : report.files) {
    files.push_back({{"path", f.path}, {"messages", f.messages}, {"events", f.events}});
  }
  nlohmann::json rejected = nlohmann::json::object();
  if (!report.rejected_mbox.empty()) rejected["messages"] = report.rejected_mbox;
  if (!report.rejected_ics.empty()) rejected["events"] = report.rejected_ics;
  const nlohmann::json doc = {
      {"inputs", inputs},
      {"items", items},
      {"files", files},
      {"rejected_files", rejected},
      {"summary",
       {{"messages", report.Count(ItemKind::kMessage)},
        {"events", report.Count(ItemKind::kEvent)},
        {"written", report.Count(PlaceStatus::kWritten)},
        {"written_with_moved_body", report.Count(PlaceStatus::kWrittenMovedBody)},
        {"rejected", report.Count(PlaceStatus::kRejected)}}},
      {"skipped", report.skipped},
      {"errors", report.errors}};
  // Invalid UTF-8 in a name or reason is replaced, not thrown over.
  out << doc.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
}

}  // namespace vimport
