// Throughput of the hot paths: checksums, property contexts, and whole
// writers filled with messages.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "core/writer_impl.h"
#include "ltp/heap.h"
#include "ltp/property_bag.h"
#include "ltp/property_context.h"
#include "ndb/crc32.h"

namespace {

void BM_Crc32(benchmark::State& state) {
  const virel::Bytes data(static_cast<size_t>(state.range(0)), 0x5A);
  for (auto _ : state) {
    benchmark::DoNotOptimize(virel::ndb::Crc32(data.data(), data.size()));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Crc32)->Arg(512)->Arg(8176);

void BM_PropertyContext(benchmark::State& state) {
  virel::ltp::PropertyBag bag;
  for (uint32_t i = 0; i < 20; ++i) {
    bag.SetString((0x3000u + i) << 16 | 0x1F, "some property text " + std::to_string(i));
    bag.SetInt32((0x3100u + i) << 16 | 0x03, i);
  }
  for (auto _ : state) {
    virel::ltp::Heap heap;
    virel::ltp::BuildPropertyContext(bag, &heap);
    benchmark::DoNotOptimize(heap.Serialize());
  }
}
BENCHMARK(BM_PropertyContext);

// A writer with `range(0)` messages, each with a recipient and a 20 KB
// attachment, opened, filled and closed.
void BM_WriteMailbox(benchmark::State& state) {
  const std::string path = "virel_bench.pst";
  virel::MessageRecord m;
  m.subject = "Benchmark message";
  m.body_plain = std::string(2000, 'b');
  m.sender_name = "Sender";
  m.recipients.push_back({"To", "to@example.com", virel::RecipientKind::kTo});
  m.attachments.push_back({"data.bin", virel::Bytes(20000, 7)});
  for (auto _ : state) {
    virel::Virel writer(path);
    for (int i = 0; i < state.range(0); ++i) {
      writer.impl().AddMessage("Inbox", m);
    }
    writer.impl().close();
  }
  std::remove(path.c_str());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_WriteMailbox)->Arg(10)->Arg(40)->Unit(benchmark::kMillisecond);

// One capacity check of a message against a writer that holds `range(0)`
// messages spread over ten folders, beside adding such a message.
void BM_CheckMessage(benchmark::State& state) {
  const std::string path = "virel_bench_check.pst";
  virel::MessageRecord m;
  m.subject = "Benchmark message";
  m.body_plain = std::string(500, 'b');
  {
    virel::Virel writer(path);
    for (int i = 0; i < state.range(0); ++i) {
      writer.impl().AddMessage("Folder " + std::to_string(i % 10), m);
    }
    for (auto _ : state) {
      benchmark::DoNotOptimize(writer.impl().CheckMessage("Folder 3", m));
    }
    writer.impl().close();
  }
  std::remove(path.c_str());
}
BENCHMARK(BM_CheckMessage)->Arg(10)->Arg(250)->Unit(benchmark::kMicrosecond);

}  // namespace
