// Fails every write, flush and close of a representative writer in turn,
// with each kind of fault, and checks what the calls answer and what the
// file on disk amounts to. Prints the table of outcomes.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fault/fault_injector.h"
#include "fault/file_outcome.h"
#include "unit/test_util.h"
#include "virel.h"

namespace faulttest {
namespace {

std::filesystem::path ScratchDir() {
  return testutil::ScratchBase() /
         ("virel_fault_sweep_" + testutil::RunId());
}

// What one run of the script saw.
struct ScriptRun {
  bool opened = false;
  int adds = 0;             // folder, message and event calls made
  int failed_adds = 0;      // of those, the ones that returned 0
  int items = 0;            // messages and events stored
  int mismatches = 0;       // a call whose result disagrees with the faults
  bool close_faulted = false;
  virel_writer* writer = nullptr;
};

// Checks one call's result against whether a fault struck during it.
void Expect(ScriptRun* run, const FaultInjector& hook, uint64_t fired_before,
            bool succeeded, bool item = true) {
  ++run->adds;
  if (succeeded && item) ++run->items;
  if (!succeeded) ++run->failed_adds;
  const bool struck = hook.fired() != fired_before;
  if (struck == succeeded) ++run->mismatches;
}

// Folders, a message with recipients and a multi-block attachment, a plain
// message and a recurring event, then close. The writer is left closed
// (or failed) and not destroyed.
ScriptRun WriteMailbox(const std::string& path, const FaultInjector& hook) {
  ScriptRun run;
  uint64_t before = hook.fired();
  run.writer = virel_create_writer(path.c_str());
  run.opened = run.writer != nullptr;
  if ((hook.fired() != before) == run.opened) ++run.mismatches;
  if (!run.opened) return run;
  virel_writer* w = run.writer;

  before = hook.fired();
  Expect(&run, hook, before, virel_create_folder(w, "Projects/2026") != 0,
         false);

  virel_message* m = virel_create_message();
  virel_message_set_subject(m, "Quarterly report");
  virel_message_set_body_plain(m, "Figures attached.");
  virel_message_set_body_html(m, "<p>Figures attached.</p>");
  virel_message_set_sender(m, "Ada", "ada@example.org");
  virel_message_set_time(m, 1700000000);
  virel_message_add_recipient(m, "Bob", "bob@example.org", 1);
  virel_message_add_recipient(m, "Cy", "cy@example.org", 2);
  const std::vector<uint8_t> big(10000, 0x5A);  // more than one data block
  virel_message_add_attachment(m, "figures.bin", big.data(), big.size());
  virel_message_add_attachment(m, "note.txt", "hello", 5);
  before = hook.fired();
  Expect(&run, hook, before, virel_writer_add_message(w, "Projects/2026", m) != 0);
  virel_destroy_message(m);

  before = hook.fired();
  Expect(&run, hook, before, virel_add_message_simple(w, nullptr, "Hi", "Short note") != 0);

  virel_event* e = virel_create_event();
  virel_event_set_subject(e, "Stand-up");
  virel_event_set_location(e, "Room 4");
  virel_event_set_start_time(e, 1700003600);
  virel_event_set_end_time(e, 1700005400);
  virel_event_set_organizer(e, "Ada", "ada@example.org");
  virel_event_add_attendee(e, "Bob", "bob@example.org", 1);
  virel_event_set_recurrence_weekly(e, 1, 0x3E);
  before = hook.fired();
  Expect(&run, hook, before, virel_writer_add_event(w, nullptr, e) != 0);
  virel_destroy_event(e);

  before = hook.fired();
  virel_close(w);
  run.close_faulted = hook.fired() != before;
  return run;
}

// Writers whose close never succeeded: destroying one would close it again
// and end the process on a failure, so they stay reachable until exit.
std::vector<virel_writer*>& KeptAlive() {
  static auto* writers = new std::vector<virel_writer*>();
  return *writers;
}

bool Acceptable(Outcome o) {
  return o == Outcome::kProvisional || o == Outcome::kComplete ||
         o == Outcome::kWarnings;
}

TEST(IoFault, EveryCallOfAWriterFailsCleanly) {
  const std::filesystem::path dir = ScratchDir();
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);

  // A file closed before the faults begin must never change.
  const std::string earlier_path = (dir / "earlier.pst").string();
  virel_writer* earlier = virel_create_writer(earlier_path.c_str());
  ASSERT_NE(earlier, nullptr);
  ASSERT_NE(virel_add_message_simple(earlier, "Inbox", "Kept", "as is"), 0u);
  virel_close(earlier);
  const std::vector<uint8_t> earlier_bytes = testutil::ReadAll(earlier_path);

  // Count the calls of a run without faults; it must come out whole.
  const std::string path = (dir / "swept.pst").string();
  uint64_t total = 0;
  {
    FaultInjector counter(0, Fault::kNone);
    ScopedHook scoped(&counter);
    ScriptRun run = WriteMailbox(path, counter);
    total = counter.calls();
    ASSERT_TRUE(run.opened);
    EXPECT_EQ(run.failed_adds, 0);
    virel_destroy_writer(run.writer);
  }
  const Verdict whole_run = Classify(path);
  ASSERT_EQ(whole_run.outcome, Outcome::kComplete) << whole_run.detail;
  ASSERT_EQ(whole_run.items, 3);
  ASSERT_GT(total, 20u);

  std::ostringstream table;
  table << "I/O fault sweep: " << total << " calls\n"
        << "  N    call   fault        failed  after close               after retry\n";
  int checked = 0;
  for (Fault fault : {Fault::kEio, Fault::kNoSpace, Fault::kShortWrite}) {
    for (uint64_t n = 1; n <= total; ++n) {
      FaultInjector hook(n, fault);
      ScriptRun run;
      Verdict first, retried;
      {
        ScopedHook scoped(&hook);
        run = WriteMailbox(path, hook);
        first = Classify(path);
      }
      // The disk has room again: a retried close completes the file, after
      // which the writer may be destroyed.
      if (run.opened) virel_close(run.writer);
      retried = Classify(path);
      const bool whole = retried.outcome == Outcome::kComplete ||
                         retried.outcome == Outcome::kWarnings;
      if (whole) {
        virel_destroy_writer(run.writer);
      } else if (run.opened) {
        KeptAlive().push_back(run.writer);
      }

      char row[160];
      std::snprintf(row, sizeof row, "%4llu  %-5s  %-11s  %d/%d     %-24s  %s\n",
                    static_cast<unsigned long long>(n), OpName(hook.first_op()),
                    FaultName(fault), run.failed_adds + !run.opened, run.adds + 1,
                    OutcomeName(first.outcome),
                    run.opened ? OutcomeName(retried.outcome) : "-");
      table << row;
      SCOPED_TRACE(row);

      EXPECT_GE(hook.fired(), 1u);
      EXPECT_EQ(run.mismatches, 0) << "a call's result disagrees with its faults";
      if (!run.opened) continue;  // NULL answered; no file promised
      ++checked;
      const bool short_allowed =
          run.close_faulted && first.outcome == Outcome::kShort;
      EXPECT_TRUE(Acceptable(first.outcome) || short_allowed) << first.detail;
      EXPECT_TRUE(whole) << OutcomeName(retried.outcome) << ": " << retried.detail;
      if (whole) {
        EXPECT_EQ(retried.items, run.items) << "stored items lost or invented";
      }
      if (!run.close_faulted && run.failed_adds == 0) {
        EXPECT_EQ(first.outcome, Outcome::kComplete) << "no call failed";
      }
    }
  }
  std::cout << table.str() << std::flush;
  EXPECT_GT(checked, 0);

  EXPECT_EQ(testutil::ReadAll(earlier_path), earlier_bytes);
  virel_destroy_writer(earlier);  // closed: destroying it writes nothing
  EXPECT_EQ(testutil::ReadAll(earlier_path), earlier_bytes);
  std::filesystem::remove_all(dir);
}

}  // namespace
}  // namespace faulttest
