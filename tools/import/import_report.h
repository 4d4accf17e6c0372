// What an import did with every input item, and the two ways of telling
// it: a summary for people on stderr and one JSON document for programs.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "output_series.h"

namespace vimport {

enum class ItemKind { kMessage, kEvent };

struct ItemOutcome {
  std::string path;
  std::optional<size_t> index;  // position in an mbox or calendar file
  ItemKind kind = ItemKind::kMessage;
  PlaceStatus status = PlaceStatus::kRejected;
  std::string file;    // output file, when written
  std::string folder;  // folder path, when written
  uint64_t nid = 0;
  std::string reason;                 // why rejected
  std::vector<std::string> problems;     // what could not be decoded as declared
  std::vector<std::string> not_carried;  // event parts the writer cannot hold
};

struct InputSummary {
  std::string path;
  std::string kind;  // "mbox", "message", "calendar"
  std::vector<std::string> problems;  // what could not be parsed
};

struct ImportReport {
  std::vector<InputSummary> inputs;
  std::vector<ItemOutcome> items;
  std::vector<OutputFile> files;
  std::vector<std::string> errors;   // unreadable inputs, failed writes
  std::vector<std::string> skipped;  // files in trees that hold no mail
  std::string rejected_mbox;         // set when written
  std::string rejected_ics;

  size_t Count(ItemKind kind) const;
  size_t Count(PlaceStatus status) const;
};

void PrintSummary(const ImportReport& report, std::ostream& out);
void PrintJson(const ImportReport& report, std::ostream& out);

}  // namespace vimport
