// Figures for the foundation: enqueue cost on a serial queue, notification fan-out, and the
// time to archive and read back a dictionary of the size the agent keeps.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <atomic>
#include <filesystem>

#include "foundation/DispatchQueue.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/NotificationCenter.h"

namespace {

using foundation::Value;

void BM_SerialQueueAsync(benchmark::State& state) {
  foundation::DispatchQueue queue("bench.serial");
  std::atomic<std::int64_t> ran{0};
  for (auto _ : state)
    queue.async([&ran] { ran.fetch_add(1, std::memory_order_relaxed); });
  queue.sync([] {});
  state.SetItemsProcessed(ran.load());
}
BENCHMARK(BM_SerialQueueAsync)->Repetitions(9)->ReportAggregatesOnly(true);

void BM_PostToTenObservers(benchmark::State& state) {
  foundation::NotificationCenter center;
  std::int64_t deliveries = 0;
  for (int i = 0; i < 10; ++i) {
    center.addObserver("Bench", &center, [&](const foundation::Notification&) { ++deliveries; });
  }
  for (auto _ : state)
    center.post("Bench");
  benchmark::DoNotOptimize(deliveries);
}
BENCHMARK(BM_PostToTenObservers)->Repetitions(9)->ReportAggregatesOnly(true);

Value thousandEntries() {
  Value::Dictionary entries;
  for (int i = 0; i < 1000; ++i) {
    entries.emplace("parameter" + std::to_string(i),
                    i % 2 ? Value(i) : Value("value" + std::to_string(i)));
  }
  return Value(std::move(entries));
}

std::filesystem::path benchFile() {
  static const std::filesystem::path file = [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "orvane-bench-XXXXXX").string();
    return std::filesystem::path(::mkdtemp(pattern.data())) / "dictionary.archive";
  }();
  return file;
}

void BM_ArchiveThousandEntryDictionary(benchmark::State& state) {
  const Value dictionary = thousandEntries();
  for (auto _ : state) {
    benchmark::DoNotOptimize(foundation::KeyedArchiver::archiveRootValue(dictionary, benchFile()));
  }
}
BENCHMARK(BM_ArchiveThousandEntryDictionary)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

void BM_UnarchiveThousandEntryDictionary(benchmark::State& state) {
  foundation::KeyedArchiver::archiveRootValue(thousandEntries(), benchFile());
  for (auto _ : state) {
    benchmark::DoNotOptimize(foundation::KeyedUnarchiver::unarchiveValueWithFile(benchFile()));
  }
}
BENCHMARK(BM_UnarchiveThousandEntryDictionary)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
