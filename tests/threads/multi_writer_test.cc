// Many writers on eight threads at once, some pushed past the limits: run
// under ThreadSanitizer in CI. The threads share only the process-wide
// statistics registry and the event sequence counter.
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "mailbox.h"
#include "unit/test_util.h"
#include "virel.h"

namespace {

constexpr int kThreads = 8;
constexpr int kWritersPerThread = 12;
constexpr int kMessages = 4;  // and one event
constexpr int kFoldersPastBlockLimit = 220;  // two blocks each at close

// Writers whose close failed at a limit: destroying one would end the
// process, so they stay reachable until it exits.
std::mutex g_kept_mu;
std::vector<virel_writer*>* g_kept = new std::vector<virel_writer*>();

struct WriterResult {
  std::string path;
  bool over_limit = false;
  bool calls_ok = true;  // every add answered as expected
};

WriterResult WriteOne(const std::filesystem::path& dir, int thread, int index) {
  WriterResult r;
  r.path = (dir / ("t" + std::to_string(thread) + "_" + std::to_string(index) + ".pst")).string();
  r.over_limit = index % 3 == 2;
  virel_writer* w = virel_create_writer(r.path.c_str());
  if (w == nullptr) {
    r.calls_ok = false;
    return r;
  }
  const std::string folder = "Thread " + std::to_string(thread) + "/Run";
  r.calls_ok &= virel_create_folder(w, folder.c_str()) != 0;
  for (int i = 0; i < kMessages; ++i) {
    virel_message* m = virel_create_message();
    virel_message_set_subject(m, "Parallel");
    virel_message_add_recipient(m, "Bob", "bob@example.org", 1);
    const std::string data(100 + i, 'x');
    virel_message_add_attachment(m, "a.txt", data.data(), data.size());
    r.calls_ok &= virel_writer_add_message(w, folder.c_str(), m) != 0;
    virel_destroy_message(m);
  }
  virel_event* e = virel_create_event();
  virel_event_set_subject(e, "Sync");
  virel_event_set_start_time(e, 1700000000 + thread);
  r.calls_ok &= virel_writer_add_event(w, nullptr, e) != 0;
  virel_destroy_event(e);
  if (r.over_limit) {
    for (int i = 0; i < kFoldersPastBlockLimit; ++i) {
      r.calls_ok &= virel_create_folder(w, ("F" + std::to_string(i)).c_str()) != 0;
    }
  }
  virel_close(w);
  if (r.over_limit) {
    std::lock_guard<std::mutex> lock(g_kept_mu);
    g_kept->push_back(w);
  } else {
    virel_destroy_writer(w);
  }
  return r;
}

TEST(Threads, ManyWritersOnEightThreads) {
  std::error_code ec;
  const std::filesystem::path dir =
      testutil::ScratchBase() / ("virel_threads_" + testutil::RunId());
  std::filesystem::remove_all(dir, ec);
  std::filesystem::create_directories(dir);

  std::vector<std::vector<WriterResult>> results(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&results, &dir, t] {
      for (int i = 0; i < kWritersPerThread; ++i) {
        results[t].push_back(WriteOne(dir, t, i));
      }
    });
  }
  for (auto& t : threads) t.join();

  int over = 0;
  for (const auto& per_thread : results) {
    ASSERT_EQ(per_thread.size(), static_cast<size_t>(kWritersPerThread));
    for (const WriterResult& r : per_thread) {
      SCOPED_TRACE(r.path);
      EXPECT_TRUE(r.calls_ok);
      const vread::Mailbox box = vread::Mailbox::open(r.path);
      if (r.over_limit) {
        ++over;
        EXPECT_EQ(box.header().state, vread::HeaderState::Provisional);
      } else {
        EXPECT_EQ(box.status(), vread::FileStatus::Complete);
        for (const auto& v : box.violations()) ADD_FAILURE() << v.message;
        size_t items = 0;
        for (const vread::Folder& f : box.folders()) items += f.items.size();
        EXPECT_EQ(items, static_cast<size_t>(kMessages + 1));
      }
    }
  }
  EXPECT_EQ(over, kThreads * (kWritersPerThread / 3));
  std::filesystem::remove_all(dir, ec);
}

}  // namespace
