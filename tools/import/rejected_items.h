// Where the items that no output file can hold are kept, byte for byte:
// OUT.rejected.mbox for messages and OUT.rejected.ics for events.
#pragma once

#include <fstream>
#include <string>
#include <string_view>

namespace vimport {

class RejectedItems {
 public:
  // `output` is the first output file; the rejected files lie beside it.
  explicit RejectedItems(const std::string& output);
  ~RejectedItems();

  // Throw std::runtime_error when the file cannot be written.
  void AddMessage(std::string_view raw);
  void AddEvent(const std::string& vevent);
  // Ends the calendar; throws as above.
  void Close();

  const std::string& mbox_path() const { return mbox_path_; }
  const std::string& ics_path() const { return ics_path_; }
  bool wrote_mbox() const { return mbox_.is_open(); }
  bool wrote_ics() const { return ics_.is_open(); }

 private:
  void Open(std::ofstream* out, const std::string& path);
  static void Check(const std::ofstream& out, const std::string& path);

  std::string mbox_path_;
  std::string ics_path_;
  std::ofstream mbox_;
  std::ofstream ics_;
  bool ics_ended_ = false;
};

}  // namespace vimport
