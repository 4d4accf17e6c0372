// Writes the reader fuzz target's seeds through the C interface: an empty
// mailbox, one with mail (nested folders, recipients, attachments up to a
// data tree, invalid UTF-8) and one with events. Each file is cut at its
// ibFileEof, dropping the zero padding, so that mutations land on
// structures.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "mailbox.h"
#include "virel.h"

namespace {

void addMail(virel_writer* w) {
  virel_create_folder(w, "Projects/2024");
  const std::vector<unsigned char> big(20000, 0x5A);
  const char small[] = "region,revenue\nnorth,1200\n";
  for (int i = 0; i < 3; ++i) {
    virel_message* m = virel_create_message();
    virel_message_set_subject(m, i == 0 ? "Q3 figures" : "Re: caf\xC3\xA9 \xFF");
    virel_message_set_body_plain(m, "Hi team,\nthe figures are attached.");
    if (i == 1) virel_message_set_body_html(m, "<p>Hi team</p>");
    virel_message_set_sender(m, "Alice", "alice@example.com");
    virel_message_set_time(m, 1696161600 + i);
    virel_message_add_recipient(m, "Bob", "bob@example.com", 1);
    virel_message_add_recipient(m, "Carla", "carla@example.com", 2);
    virel_message_add_attachment(m, "q3.csv", small, sizeof small - 1);
    if (i == 2) virel_message_add_attachment(m, "big\xC3.bin", big.data(), big.size());
    virel_writer_add_message(w, i == 0 ? "Inbox" : "Projects/2024", m);
    virel_destroy_message(m);
  }
}

void addEvents(virel_writer* w) {
  for (int i = 0; i < 2; ++i) {
    virel_event* e = virel_create_event();
    virel_event_set_subject(e, "Planning");
    virel_event_set_location(e, "Room 1");
    virel_event_set_start_time(e, 1700000000 + 86400 * i);
    virel_event_set_end_time(e, 1700003600 + 86400 * i);
    virel_event_set_organizer(e, "Alice", "alice@example.com");
    virel_event_add_attendee(e, "Bob", "bob@example.com", 1);
    if (i == 1) virel_event_set_recurrence_weekly(e, 1, 0x2A);
    virel_writer_add_event(w, i == 0 ? nullptr : "Team/Calendar", e);
    virel_destroy_event(e);
  }
}

bool write(const std::string& path, void (*fill)(virel_writer*)) {
  virel_writer* w = virel_create_writer(path.c_str());
  if (w == nullptr) return false;
  if (fill != nullptr) fill(w);
  virel_close(w);
  virel_destroy_writer(w);
  const vread::Mailbox box = vread::Mailbox::open(path);
  if (box.status() != vread::FileStatus::Complete) return false;
  std::filesystem::resize_file(path, box.header().fileEof);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_reader_seeds DIR\n");
    return 2;
  }
  const std::string dir = argv[1];
  std::filesystem::create_directories(dir);
  bool ok = write(dir + "/empty.pst", nullptr) && write(dir + "/mail.pst", addMail) &&
            write(dir + "/events.pst", addEvents);
  return ok ? 0 : 1;
}
