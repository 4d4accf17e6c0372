#include "rejected_items.h"

#include <stdexcept>

#include "mbox_file.h"
#include "output_paths.h"

namespace vimport {
namespace {

constexpr char kCalendarHead[] =
    "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//virel//virel-import//EN\r\n";
constexpr char kCalendarTail[] = "END:VCALENDAR\r\n";

}  // namespace

RejectedItems::RejectedItems(const std::string& output)
    : mbox_path_(SiblingPath(output, ".rejected.mbox")),
      ics_path_(SiblingPath(output, ".rejected.ics")) {}

RejectedItems::~RejectedItems() {
  try {
    Close();
  } catch (const std::exception&) {
    // Reported by an explicit Close(); nothing more to do here.
  }
}

void RejectedItems::Open(std::ofstream* out, const std::string& path) {
  out->open(path, std::ios::binary | std::ios::trunc);
  Check(*out, path);
}

void RejectedItems::Check(const std::ofstream& out, const std::string& path) {
  if (!out) throw std::runtime_error(path + ": cannot write");
}

void RejectedItems::AddMessage(std::string_view raw) {
  if (!mbox_.is_open()) Open(&mbox_, mbox_path_);
  mbox_ << ToMboxEntry(raw);
  Check(mbox_, mbox_path_);
}

void RejectedItems::AddEvent(const std::string& vevent) {
  if (!ics_.is_open()) {
    Open(&ics_, ics_path_);
    ics_ << kCalendarHead;
  }
  ics_ << vevent;
  if (!vevent.empty() && vevent.back() != '\n') ics_ << "\r\n";
  Check(ics_, ics_path_);
}

void RejectedItems::Close() {
  if (mbox_.is_open()) {
    mbox_.flush();
    Check(mbox_, mbox_path_);
  }
  if (ics_.is_open() && !ics_ended_) {
    ics_ended_ = true;
    ics_ << kCalendarTail;
    ics_.flush();
    Check(ics_, ics_path_);
  }
}

}  // namespace vimport
