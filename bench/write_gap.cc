// How far whole writers are from the file system: for four mailboxes it
// times the writer from create to close and, interleaved in the same
// process, a replay of exactly the writes and flushes that writer made
// (recorded once through the file store's I/O hook) with nothing else.
// Also: checksum and UTF-8 conversion throughput, peak heap per case, and
// the first file written by a fresh process.
//   virel_write_gap [--dir DIR] [--rounds N]
//   virel_write_gap --writer-only CASE | --floor-only CASE [--rounds N]
// DIR defaults to the current directory; use a real disk, not tmpfs.
#include <malloc.h>
#include <sys/resource.h>
#include <zlib.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "core/writer_impl.h"
#include "ltp/utf8.h"
#include "ndb/crc32.h"
#include "ndb/io_hook.h"

// Live and peak heap bytes, counted by replacing the global allocator
// while `g_counting` is set (only for the peak measurement, so timed runs
// pay nothing for it).
namespace {
std::atomic<bool> g_counting{false};
std::atomic<long long> g_live{0};
std::atomic<long long> g_peak{0};

void* CountedAlloc(size_t size) {
  void* p = std::malloc(size == 0 ? 1 : size);
  if (p == nullptr) throw std::bad_alloc();
  if (g_counting.load(std::memory_order_relaxed)) {
    const long long n = static_cast<long long>(malloc_usable_size(p));
    const long long live = g_live.fetch_add(n) + n;
    long long peak = g_peak.load();
    while (live > peak && !g_peak.compare_exchange_weak(peak, live)) {
    }
  }
  return p;
}

void CountedFree(void* p) {
  if (p == nullptr) return;
  if (g_counting.load(std::memory_order_relaxed)) {
    g_live.fetch_sub(static_cast<long long>(malloc_usable_size(p)));
  }
  std::free(p);
}
}  // namespace

void* operator new(size_t size) { return CountedAlloc(size); }
void* operator new[](size_t size) { return CountedAlloc(size); }
void operator delete(void* p) noexcept { CountedFree(p); }
void operator delete[](void* p) noexcept { CountedFree(p); }
void operator delete(void* p, size_t) noexcept { CountedFree(p); }
void operator delete[](void* p, size_t) noexcept { CountedFree(p); }

namespace {

using Clock = std::chrono::steady_clock;
using virel::Bytes;

double Seconds(Clock::time_point from) {
  return std::chrono::duration<double>(Clock::now() - from).count();
}

long MinorFaults() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return u.ru_minflt;
}

// User and system CPU seconds of this process so far.
std::pair<double, double> CpuSeconds() {
  rusage u{};
  getrusage(RUSAGE_SELF, &u);
  return {static_cast<double>(u.ru_utime.tv_sec) + static_cast<double>(u.ru_utime.tv_usec) / 1e6,
          static_cast<double>(u.ru_stime.tv_sec) + static_cast<double>(u.ru_stime.tv_usec) / 1e6};
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  const size_t n = v.size();
  return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

double Min(const std::vector<double>& v) { return *std::min_element(v.begin(), v.end()); }

// ---- the four mailboxes ----

std::string Text(size_t size, unsigned seed) {
  std::string s(size, ' ');
  for (size_t i = 0; i < size; ++i) {
    if (i % 64 != 63) s[i] = static_cast<char>('a' + (i * 7 + seed) % 26);
  }
  return s;
}

virel::MessageRecord Message(unsigned i, size_t body) {
  virel::MessageRecord m;
  m.subject = "Message " + std::to_string(i);
  m.body_plain = Text(body, i);
  m.sender_name = "Sender Name";
  m.sender_address = "sender@example.com";
  m.time = virel::SecondsToTicks(1700000000 + i * 60);
  return m;
}

// One item to add; records are built before any timing starts.
struct Item {
  std::string folder;
  bool is_event = false;
  virel::MessageRecord message;
  virel::EventRecord event;
};

struct Case {
  const char* name;
  std::vector<Item> items;
};

Item MessageItem(const char* folder, virel::MessageRecord m) {
  Item item;
  item.folder = folder;
  item.message = std::move(m);
  return item;
}

std::vector<Case> Cases() {
  std::vector<Case> cases(4);
  cases[0].name = "280 small messages, 3 folders";
  static const char* const kFolders[] = {"Inbox", "Archive", "Work"};
  for (unsigned i = 0; i < 280; ++i) {
    cases[0].items.push_back(MessageItem(kFolders[i % 3], Message(i, 1000)));
  }
  cases[1].name = "115 messages, 2 recipients";
  for (unsigned i = 0; i < 115; ++i) {
    virel::MessageRecord m = Message(i, 800);
    m.recipients.push_back({"To Person", "to@example.com", virel::RecipientKind::kTo});
    m.recipients.push_back({"Cc Person", "cc@example.com", virel::RecipientKind::kCc});
    cases[1].items.push_back(MessageItem("Inbox", std::move(m)));
  }
  cases[2].name = "one 2.5 MB attachment";
  {
    virel::MessageRecord m = Message(0, 200);
    Bytes data(2621440);
    for (size_t i = 0; i < data.size(); ++i) data[i] = static_cast<uint8_t>(i * 131 + (i >> 11));
    m.attachments.push_back({"archive.bin", std::move(data)});
    cases[2].items.push_back(MessageItem("Inbox", std::move(m)));
  }
  cases[3].name = "150 events, 50 messages";
  for (unsigned i = 0; i < 200; ++i) {
    if (i % 4 == 3) {
      cases[3].items.push_back(MessageItem("Inbox", Message(i, 500)));
      continue;
    }
    Item item;
    item.folder = "Calendar";
    item.is_event = true;
    virel::EventRecord& e = item.event;
    e.subject = "Event " + std::to_string(i);
    e.body_plain = Text(300, i);
    e.third_text = "Room 1";
    e.start = virel::SecondsToTicks(1700000000 + i * 86400);
    e.end = e.start + virel::SecondsToTicks(3600);
    e.organizer_name = "Organizer";
    e.organizer_address = "org@example.com";
    cases[3].items.push_back(std::move(item));
  }
  return cases;
}

// ---- recording and replay ----

struct IoStep {
  virel::ndb::IoOp op;
  uint64_t offset;
  Bytes data;
};

class Recorder : public virel::ndb::IoHook {
 public:
  virel::ndb::IoFault Before(const virel::ndb::IoRequest& r) override {
    const uint8_t* p = static_cast<const uint8_t*>(r.data);
    steps.push_back({r.op, r.offset, r.op == virel::ndb::IoOp::kWrite ? Bytes(p, p + r.size) : Bytes()});
    return {};
  }
  std::vector<IoStep> steps;
};

void WriteMailbox(const Case& c, const std::string& path) {
  virel::Virel writer(path);
  for (const Item& item : c.items) {
    if (item.is_event) {
      writer.impl().AddEvent(item.folder, item.event);
    } else {
      writer.impl().AddMessage(item.folder, item.message);
    }
  }
  writer.impl().close();
}

// The same calls on the same kind of stream: seek only when elsewhere,
// write, flush; open and close included.
void Replay(const std::vector<IoStep>& steps, const std::string& path) {
  std::fstream f(path, std::ios::in | std::ios::out | std::ios::binary | std::ios::trunc);
  uint64_t position = 0;
  for (const IoStep& s : steps) {
    switch (s.op) {
      case virel::ndb::IoOp::kWrite:
        if (s.offset != position) f.seekp(static_cast<std::streamoff>(s.offset));
        f.write(reinterpret_cast<const char*>(s.data.data()), static_cast<std::streamsize>(s.data.size()));
        position = s.offset + s.data.size();
        break;
      case virel::ndb::IoOp::kFlush:
        f.flush();
        break;
      case virel::ndb::IoOp::kClose:
        f.close();
        break;
    }
  }
  if (!f.good() && f.is_open()) std::fprintf(stderr, "replay failed\n");
}

uint64_t FileSize(const std::string& path) {
  std::ifstream f(path, std::ios::binary | std::ios::ate);
  return static_cast<uint64_t>(f.tellg());
}

void Gap(const std::vector<Case>& cases, const std::string& dir, int rounds) {
  std::printf("%-32s %9s %9s %9s %9s %7s %6s %8s %9s\n", "writer/floor", "writer ms", "floor ms",
              "median", "min", "writes", "flush", "file KiB", "peak/file");
  const std::string writer_path = dir + "/virel_gap_writer.pst";
  const std::string floor_path = dir + "/virel_gap_floor.pst";
  for (const Case& c : cases) {
    Recorder recorder;
    virel::ndb::SetIoHook(&recorder);
    WriteMailbox(c, writer_path);
    virel::ndb::SetIoHook(nullptr);
    size_t writes = 0, flushes = 0;
    for (const IoStep& s : recorder.steps) {
      writes += s.op == virel::ndb::IoOp::kWrite;
      flushes += s.op == virel::ndb::IoOp::kFlush;
    }
    std::vector<double> w, f, ratio;
    for (int r = 0; r < rounds; ++r) {
      // Alternate which goes first so neither always finds a warm cache.
      double tw = 0, tf = 0;
      for (int k = 0; k < 2; ++k) {
        const auto start = Clock::now();
        if ((k == 0) == (r % 2 == 0)) {
          WriteMailbox(c, writer_path);
          tw = Seconds(start);
        } else {
          Replay(recorder.steps, floor_path);
          tf = Seconds(start);
        }
      }
      w.push_back(tw);
      f.push_back(tf);
      ratio.push_back(tw / tf);
    }
    g_live.store(0);
    g_peak.store(0);
    g_counting.store(true);
    WriteMailbox(c, writer_path);
    g_counting.store(false);
    const double peak = static_cast<double>(g_peak.load());
    const uint64_t size = FileSize(writer_path);
    std::printf("%-32s %9.3f %9.3f %9.2f %9.2f %7zu %6zu %8.0f %9.2f\n", c.name, Median(w) * 1e3,
                Median(f) * 1e3, Median(ratio), Min(ratio), writes, flushes, size / 1024.0,
                peak / static_cast<double>(size));
  }
  std::remove(writer_path.c_str());
  std::remove(floor_path.c_str());
}

// ---- throughput of the hot loops ----

template <typename F>
double MegabytesPerSecond(size_t bytes, F&& f) {
  double best = 1e30;
  for (int r = 0; r < 7; ++r) {
    const auto start = Clock::now();
    int n = 0;
    do {
      f();
      ++n;
    } while (Seconds(start) < 0.02);
    best = std::min(best, Seconds(start) / n);
  }
  return static_cast<double>(bytes) / best / 1e6;
}

volatile uint32_t sink;

void Throughput() {
  std::printf("\n%-32s %12s %12s\n", "CRC-32 MB/s", "virel", "zlib");
  for (size_t size : {512u, 8176u, 2621440u}) {
    Bytes data(size);
    for (size_t i = 0; i < size; ++i) data[i] = static_cast<uint8_t>(i * 131 + (i >> 9));
    if (virel::ndb::Crc32(data.data(), size) != crc32(0, data.data(), static_cast<uInt>(size))) {
      std::printf("CRC MISMATCH at %zu bytes\n", size);
    }
    const double ours = MegabytesPerSecond(size, [&] { sink = virel::ndb::Crc32(data.data(), size); });
    const double theirs = MegabytesPerSecond(
        size, [&] { sink = static_cast<uint32_t>(crc32(0, data.data(), static_cast<uInt>(size))); });
    std::printf("  %-30zu %12.0f %12.0f\n", size, ours, theirs);
  }
  std::printf("\n%-32s %12s\n", "UTF-8 to UTF-16 MB/s (input)", "virel");
  const std::string ascii = Text(1000, 1);
  std::string mixed;
  while (mixed.size() < 1000) mixed += "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80 text ";
  const std::pair<const char*, const std::string*> texts[] = {{"1000 ASCII bytes", &ascii},
                                                               {"1000 mixed bytes", &mixed}};
  for (const auto& t : texts) {
    const double mbs = MegabytesPerSecond(t.second->size(), [&] {
      sink = static_cast<uint32_t>(virel::ltp::Utf8ToUtf16(*t.second).size());
    });
    std::printf("  %-30s %12.0f\n", t.first, mbs);
  }
}

// ---- a fresh process ----

// Child mode: write one file of case `index` and print the seconds taken.
int FirstFile(const std::vector<Case>& cases, const std::string& dir, size_t index) {
  const std::string path = dir + "/virel_gap_first.pst";
  const auto start = Clock::now();
  WriteMailbox(cases.at(index), path);
  std::printf("%.6f\n", Seconds(start));
  std::remove(path.c_str());
  return 0;
}

void FreshProcess(const char* self, const std::vector<Case>& cases, const std::string& dir) {
  std::printf("\n%-32s %12s %12s\n", "first file of a new process", "first ms", "warm ms");
  const std::string writer_path = dir + "/virel_gap_writer.pst";
  for (size_t i = 0; i < cases.size(); ++i) {
    std::vector<double> first, warm;
    for (int r = 0; r < 5; ++r) {
      const std::string command =
          std::string("\"") + self + "\" --first " + std::to_string(i) + " --dir \"" + dir + "\"";
      FILE* child = popen(command.c_str(), "r");
      double t = 0;
      if (child == nullptr || std::fscanf(child, "%lf", &t) != 1) t = 0;
      if (child != nullptr) pclose(child);
      first.push_back(t);
      const auto start = Clock::now();
      WriteMailbox(cases[i], writer_path);
      warm.push_back(Seconds(start));
    }
    std::printf("%-32s %12.3f %12.3f\n", cases[i].name, Median(first) * 1e3, Median(warm) * 1e3);
  }
  std::remove(writer_path.c_str());
}

// Profiling mode: only the writer, or only the floor, of one case.
int Repeat(const std::vector<Case>& cases, const std::string& dir, size_t index,
           int rounds, bool floor) {
  const std::string path = dir + "/virel_gap_profile.pst";
  Recorder recorder;
  virel::ndb::SetIoHook(&recorder);
  WriteMailbox(cases.at(index), path);
  virel::ndb::SetIoHook(nullptr);
  const long faults = MinorFaults();
  const std::pair<double, double> cpu = CpuSeconds();
  const auto start = Clock::now();
  for (int r = 0; r < rounds; ++r) {
    if (floor) {
      Replay(recorder.steps, path);
    } else {
      WriteMailbox(cases[index], path);
    }
  }
  const std::pair<double, double> used = CpuSeconds();
  std::printf("%s: %.3f ms wall, %.3f ms user, %.3f ms system, %.0f minor faults per round\n",
              floor ? "floor" : "writer", Seconds(start) * 1e3 / rounds,
              (used.first - cpu.first) * 1e3 / rounds, (used.second - cpu.second) * 1e3 / rounds,
              static_cast<double>(MinorFaults() - faults) / rounds);
  std::remove(path.c_str());
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string dir = ".";
  int rounds = 31;
  long first = -1, writer_only = -1, floor_only = -1;
  for (int i = 1; i + 1 < argc; i += 2) {
    const std::string arg = argv[i];
    if (arg == "--dir") dir = argv[i + 1];
    else if (arg == "--rounds") rounds = std::max(1, std::atoi(argv[i + 1]));
    else if (arg == "--first") first = std::atol(argv[i + 1]);
    else if (arg == "--writer-only") writer_only = std::atol(argv[i + 1]);
    else if (arg == "--floor-only") floor_only = std::atol(argv[i + 1]);
    else {
      std::fprintf(stderr, "usage: %s [--dir DIR] [--rounds N]\n", argv[0]);
      return 2;
    }
  }
  const std::vector<Case> cases = Cases();
  if (first >= 0) return FirstFile(cases, dir, static_cast<size_t>(first));
  if (writer_only >= 0) return Repeat(cases, dir, static_cast<size_t>(writer_only), rounds, false);
  if (floor_only >= 0) return Repeat(cases, dir, static_cast<size_t>(floor_only), rounds, true);
  Gap(cases, dir, rounds);
  Throughput();
  FreshProcess(argv[0], cases, dir);
  return 0;
}
