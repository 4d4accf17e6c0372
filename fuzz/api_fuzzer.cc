// Runs its input as a program of C-interface calls: every export, NULL
// handles, invalid UTF-8, long texts, extreme times, odd folder paths, item
// counts past the limits, close twice, adds after close. Every file a close
// completes is read back by the project's reader; a violation, or a count of
// stored items that differs from the adds that succeeded, aborts.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "mailbox.h"
#include "virel.h"

namespace {

constexpr int kSlots = 3;
constexpr size_t kMaxLongText = 70000;      // past the one-page heap of an item
constexpr size_t kMaxAttachment = 20000;    // a few data blocks
constexpr int kMaxRepeat = 320;             // past the node limit in one call
// Writers past a limit cannot be released, so their number is capped: once
// that many are kept, a writer takes calls only while a generous estimate
// of its blocks stays far below the block limit (and so the node limit).
constexpr size_t kKeptCap = 64;
constexpr int kCappedBlocks = 200;
constexpr int kFolderBlocks = 5;  // properties, tables, bookkeeping
constexpr int kItemBlocks = 3;
constexpr int kAttachmentBlocks = 6;
// A folder name or an item text near the page size makes close fail too.
constexpr size_t kCappedLongText = 1000;

struct WriterSlot {
  virel_writer* writer = nullptr;
  std::string path;
  int items = 0;  // messages and events whose add returned a NID
  int blocks = 0;  // estimated blocks of the calls made
};

// Every piece of a path may become a new folder.
int PathBlocks(const char* path) {
  int pieces = 1;
  for (const char* p = path; p != nullptr && *p != '\0'; ++p) pieces += *p == '/';
  return pieces * kFolderBlocks;
}

// Writers whose close failed (a limit): destroying one would close it again
// and end the process, so they stay reachable until it exits.
std::vector<virel_writer*>* g_kept = new std::vector<virel_writer*>();

std::filesystem::path& ScratchDir() {
  static std::filesystem::path dir;
  return dir;
}

// Reads a closed writer's file; an invalid file or lost items abort.
vread::FileStatus CheckClosed(const WriterSlot& slot) {
  const vread::Mailbox box = vread::Mailbox::open(slot.path);
  const vread::FileStatus status = box.status();
  if (status == vread::FileStatus::Invalid) {
    std::fprintf(stderr, "invalid file %s: %s\n", slot.path.c_str(), box.loadError().c_str());
    for (const auto& v : box.violations()) {
      std::fprintf(stderr, "  at 0x%llx: %s\n", static_cast<unsigned long long>(v.offset), v.message.c_str());
    }
    std::abort();
  }
  if (status == vread::FileStatus::Provisional) return status;
  int stored = 0;
  for (const vread::Folder& f : box.folders()) stored += static_cast<int>(f.items.size());
  if (stored != slot.items) {
    std::fprintf(stderr, "%s holds %d items, %d adds succeeded\n", slot.path.c_str(), stored, slot.items);
    std::abort();
  }
  return status;
}

// Closes, checks and releases a writer; one whose close failed is kept.
void Finish(WriterSlot* slot) {
  if (slot->writer == nullptr) return;
  virel_close(slot->writer);
  if (CheckClosed(*slot) == vread::FileStatus::Provisional) {
    g_kept->push_back(slot->writer);
  } else {
    virel_destroy_writer(slot->writer);
  }
  *slot = WriterSlot();
}

class Program {
 public:
  Program(const uint8_t* data, size_t size) : in_(data, size) {}

  void Run() {
    while (in_.remaining_bytes() > 0) Step();
    for (WriterSlot& s : writers_) Finish(&s);
    for (virel_message* m : messages_) virel_destroy_message(m);
    for (virel_event* e : events_) virel_destroy_event(e);
  }

 private:
  // A text: NULL, empty, raw bytes (any encoding), or a long repetition.
  std::string text_;
  const char* Text() {
    switch (in_.ConsumeIntegralInRange<int>(0, 5)) {
      case 0: return nullptr;
      case 1: text_.clear(); break;
      case 2: {
        const size_t longest = g_kept->size() < kKeptCap ? kMaxLongText : kCappedLongText;
        const size_t n = in_.ConsumeIntegralInRange<size_t>(0, longest);
        text_.assign(n, static_cast<char>(in_.ConsumeIntegralInRange<int>(1, 255)));
        break;
      }
      default: text_ = in_.ConsumeRandomLengthString(64); break;
    }
    return text_.c_str();
  }

  // A folder path, often built from pieces with empty ones among them.
  std::string path_;
  const char* FolderPath() {
    if (in_.ConsumeBool()) return Text();
    path_.clear();
    const int pieces = in_.ConsumeIntegralInRange<int>(0, 4);
    for (int i = 0; i < pieces; ++i) {
      path_ += std::string(in_.ConsumeIntegralInRange<size_t>(0, 2), '/');
      static const char* const kNames[] = {"Inbox", "Calendar", "A", "B", "\xC3\xA4", "\xFF"};
      path_ += kNames[in_.ConsumeIntegralInRange<int>(0, 5)];
    }
    if (in_.ConsumeBool()) path_ += "/";
    return path_.c_str();
  }

  int64_t Time() {
    static const int64_t kEdges[] = {std::numeric_limits<int64_t>::min(),
                                     std::numeric_limits<int64_t>::max(), -1, 0,
                                     -11644473600LL, 253402300799LL};
    if (in_.ConsumeBool()) return in_.ConsumeIntegral<int64_t>();
    return kEdges[in_.ConsumeIntegralInRange<int>(0, 5)];
  }

  // A slot index, or -1 for a NULL handle.
  int Slot() { return in_.ConsumeIntegralInRange<int>(-1, kSlots - 1); }
  WriterSlot* Writer() {
    const int i = Slot();
    return i < 0 ? nullptr : &writers_[i];
  }
  virel_writer* WriterHandle(WriterSlot* s) { return s == nullptr ? nullptr : s->writer; }
  virel_message* Message() { return MessageAt(Slot()); }
  virel_message* MessageAt(int i) { return i < 0 ? nullptr : messages_[i]; }

  // Whether a call that may write about `blocks` blocks may go to this
  // writer (see kKeptCap).
  bool Allow(WriterSlot* s, int blocks) {
    if (s == nullptr) return true;
    s->blocks += blocks;
    return g_kept->size() < kKeptCap || s->blocks <= kCappedBlocks;
  }
  int MessageBlocks(int slot) {
    return kItemBlocks + (slot < 0 ? 0 : attachments_[slot] * kAttachmentBlocks);
  }
  virel_event* Event() {
    const int i = Slot();
    return i < 0 ? nullptr : events_[i];
  }

  void CountItem(WriterSlot* s, uint64_t nid) {
    if (s != nullptr && nid != 0) ++s->items;
  }

  void Step() {
    switch (in_.ConsumeIntegralInRange<int>(0, 14)) {
      case 0: OpenWriter(); break;
      case 1: {
        WriterSlot* s = Writer();
        if (s != nullptr) Finish(s);
        break;
      }
      case 2: {  // close without releasing; a second close does nothing
        WriterSlot* s = Writer();
        virel_close(WriterHandle(s));
        if (s != nullptr && s->writer != nullptr) CheckClosed(*s);
        break;
      }
      case 3: {
        WriterSlot* s = Writer();
        const char* path = FolderPath();
        if (Allow(s, PathBlocks(path))) virel_create_folder(WriterHandle(s), path);
        break;
      }
      case 4: {
        const int i = in_.ConsumeIntegralInRange<int>(0, kSlots - 1);
        virel_destroy_message(messages_[i]);
        messages_[i] = virel_create_message();
        attachments_[i] = 0;
        break;
      }
      case 5: SetMessage(); break;
      case 6: {
        const int i = in_.ConsumeIntegralInRange<int>(0, kSlots - 1);
        virel_destroy_event(events_[i]);
        events_[i] = virel_create_event();
        break;
      }
      case 7: SetEvent(); break;
      case 8: {
        WriterSlot* s = Writer();
        const char* folder = FolderPath();
        const int m = Slot();
        if (Allow(s, PathBlocks(folder) + MessageBlocks(m))) CountItem(s, virel_writer_add_message(WriterHandle(s), folder, MessageAt(m)));
        break;
      }
      case 9: {
        WriterSlot* s = Writer();
        const char* path = FolderPath();
        const std::string folder = Owned(path);
        const char* folder_arg = path == nullptr ? nullptr : folder.c_str();
        const std::string subject = Owned(Text());
        const char* body = Text();
        if (Allow(s, PathBlocks(folder_arg) + kItemBlocks))
          CountItem(s, virel_add_message_simple(WriterHandle(s), folder_arg, subject.c_str(), body));
        break;
      }
      case 10: {
        WriterSlot* s = Writer();
        const char* folder = FolderPath();
        if (Allow(s, PathBlocks(folder) + kItemBlocks))
          CountItem(s, virel_writer_add_event(WriterHandle(s), folder, Event()));
        break;
      }
      case 11: Repeat(); break;
      case 12: {  // a message's attachments up to and past the page limit
        const int slot = Slot();
        const int n = in_.ConsumeIntegralInRange<int>(0, 400);
        for (int i = 0; i < n; ++i) virel_message_add_attachment(MessageAt(slot), "a", "x", 1);
        if (slot >= 0) attachments_[slot] += n;
        break;
      }
      default: {  // destroy a handle type the slot does not hold: NULL
        virel_destroy_message(nullptr);
        virel_destroy_event(nullptr);
        virel_destroy_writer(nullptr);
        break;
      }
    }
  }

  static std::string Owned(const char* s) { return s == nullptr ? std::string() : s; }

  void OpenWriter() {
    const int i = in_.ConsumeIntegralInRange<int>(0, kSlots - 1);
    WriterSlot& s = writers_[i];
    Finish(&s);
    // Not the default name: it would land in the current directory.
    s.path = (ScratchDir() / ("w" + std::to_string(i) + "//sub/file.pst")).string();
    s.writer = virel_create_writer(s.path.c_str());
    if (s.writer == nullptr) s = WriterSlot();
  }

  void SetMessage() {
    const int slot = Slot();
    virel_message* m = MessageAt(slot);
    switch (in_.ConsumeIntegralInRange<int>(0, 6)) {
      case 0: virel_message_set_subject(m, Text()); break;
      case 1: virel_message_set_body_plain(m, Text()); break;
      case 2: virel_message_set_body_html(m, Text()); break;
      case 3: {
        const std::string name = Owned(Text());
        virel_message_set_sender(m, name.c_str(), Text());
        break;
      }
      case 4: virel_message_set_time(m, Time()); break;
      case 5: {
        const std::string name = Owned(Text());
        const char* address = Text();
        virel_message_add_recipient(m, name.c_str(), address, in_.ConsumeIntegral<int32_t>());
        break;
      }
      default: {
        const std::string name = Owned(Text());
        const std::string data(in_.ConsumeIntegralInRange<size_t>(0, kMaxAttachment), 'd');
        const bool no_data = in_.ConsumeBool();
        virel_message_add_attachment(m, in_.ConsumeBool() ? nullptr : name.c_str(),
                                     no_data ? nullptr : data.data(), data.size());
        if (slot >= 0 && !no_data && !data.empty()) ++attachments_[slot];
        break;
      }
    }
  }

  void SetEvent() {
    virel_event* e = Event();
    switch (in_.ConsumeIntegralInRange<int>(0, 11)) {
      case 0: virel_event_set_subject(e, Text()); break;
      case 1: virel_event_set_location(e, Text()); break;
      case 2: virel_event_set_body_plain(e, Text()); break;
      case 3: virel_event_set_start_time(e, Time()); break;
      case 4: virel_event_set_end_time(e, Time()); break;
      case 5: virel_event_set_all_day(e, in_.ConsumeIntegral<int32_t>()); break;
      case 6: virel_event_set_busy_status(e, in_.ConsumeIntegral<uint32_t>()); break;
      case 7: virel_event_set_meeting_status(e, in_.ConsumeIntegral<uint32_t>()); break;
      case 8: {
        const std::string name = Owned(Text());
        virel_event_set_organizer(e, name.c_str(), Text());
        break;
      }
      case 9: {
        const std::string name = Owned(Text());
        const char* address = Text();
        virel_event_add_attendee(e, name.c_str(), address, in_.ConsumeIntegral<uint32_t>());
        break;
      }
      case 10: virel_event_set_recurrence_daily(e, in_.ConsumeIntegral<uint32_t>()); break;
      default: {
        const uint32_t interval = in_.ConsumeIntegral<uint32_t>();
        virel_event_set_recurrence_weekly(e, interval, in_.ConsumeIntegral<uint32_t>());
        break;
      }
    }
  }

  // The same call many times: enough to reach the node and block limits.
  void Repeat() {
    WriterSlot* s = Writer();
    const int n = in_.ConsumeIntegralInRange<int>(0, kMaxRepeat);
    const int kind = in_.ConsumeIntegralInRange<int>(0, 2);
    const int blocks = kind == 0 ? kFolderBlocks : kFolderBlocks + kItemBlocks;
    for (int i = 0; i < n && Allow(s, blocks); ++i) {
      const std::string name = "R" + std::to_string(i);
      if (kind == 0) virel_create_folder(WriterHandle(s), name.c_str());
      if (kind == 1) CountItem(s, virel_add_message_simple(WriterHandle(s), name.c_str(), "s", "b"));
      if (kind == 2) CountItem(s, virel_writer_add_event(WriterHandle(s), "Calendar", Event()));
    }
  }

  FuzzedDataProvider in_;
  WriterSlot writers_[kSlots];
  virel_message* messages_[kSlots] = {virel_create_message(), virel_create_message(), virel_create_message()};
  int attachments_[kSlots] = {};  // added to each message slot so far
  virel_event* events_[kSlots] = {virel_create_event(), virel_create_event(), virel_create_event()};
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // Files go to memory-backed storage.
  std::error_code ec;
  const std::filesystem::path base = std::filesystem::is_directory("/dev/shm", ec)
                                         ? std::filesystem::path("/dev/shm")
                                         : std::filesystem::temp_directory_path();
  ScratchDir() = base / ("virel_api_fuzz_" + std::to_string(getpid()));
  std::filesystem::create_directories(ScratchDir());
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(ScratchDir(), ignored);
  });
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Program(data, size).Run();
  return 0;
}
