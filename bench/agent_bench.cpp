// What logEvent costs the application's thread while a session runs and saves itself.
// Goal: 1 µs or less per call, median of the repetitions; from four threads at once, 1 µs or
// less per call at the median and 50 µs or less at worst.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/NotificationCenter.h"
#include "tests/foundation/TemporaryDirectory.h"

namespace {

using foundation::Value;
using namespace std::chrono_literals;

// Now and then the clock stops while the queue catches up, as it always has here, so the
// figures compare across versions of the intake.
constexpr std::int64_t kDrainEvery = 4096;

// An agent over a fresh directory with its session started and on disk.
class RunningAgent {
 public:
  RunningAgent() : agent_(environment()) {
    agent_.startSession("BENCH KEY");
    agent_.waitUntilIdle(10s);
  }

  tallix::TallixAgent& agent() { return agent_; }

 private:
  tallix::TallixEnvironment environment() {
    tallix::TallixEnvironment environment;
    environment.notificationCenter = &center_;
    environment.fileDirectory = directory_.path();
    return environment;
  }

  foundation::TemporaryDirectory directory_;
  foundation::NotificationCenter center_;
  tallix::TallixAgent agent_;
};

// Four names in turn; with the argument set, every event carries three parameters.
void BM_LogEvent(benchmark::State& state) {
  tallix::TallixLog::setLogLevel(0);
  RunningAgent running;
  const Value names[] = {"talk.pressed", "talk.released", "route.changed", "voice.chosen"};
  const Value parameters =
      state.range(0) ? Value(Value::Dictionary{{"voice", "Monster"}, {"take", 7}, {"tone", true}})
                     : Value();
  std::int64_t logged = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(running.agent().logEvent(names[logged % 4], parameters, false));
    if (++logged % kDrainEvery == 0) {
      state.PauseTiming();
      running.agent().waitUntilIdle(10s);
      state.ResumeTiming();
    }
  }
  state.SetItemsProcessed(logged);
}
BENCHMARK(BM_LogEvent)
    ->ArgName("parameters")
    ->Arg(0)
    ->Arg(1)
    ->MinTime(0.2)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true)
    ->UseRealTime();

// Four application threads log flat out, 10 M calls in all, never pausing for the queue; each
// call is timed on its own. Reports the median and the worst single call.
void BM_LogEventFromFourThreads(benchmark::State& state) {
  constexpr int kThreads = 4;
  constexpr std::int64_t kCallsPerThread = 10'000'000 / kThreads;
  tallix::TallixLog::setLogLevel(0);
  RunningAgent running;
  const Value names[] = {"talk.pressed", "talk.released", "route.changed", "voice.chosen"};
  std::vector<std::vector<std::uint32_t>> costs(kThreads);
  for (auto _ : state) {
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        auto& mine = costs[t];
        mine.reserve(kCallsPerThread);
        for (std::int64_t i = 0; i < kCallsPerThread; ++i) {
          const auto start = std::chrono::steady_clock::now();
          benchmark::DoNotOptimize(running.agent().logEvent(names[(i + t) % 4], Value(), false));
          const auto cost = std::chrono::steady_clock::now() - start;
          mine.push_back(static_cast<std::uint32_t>(
              std::chrono::duration_cast<std::chrono::nanoseconds>(cost).count()));
        }
      });
    }
    for (auto& thread : threads)
      thread.join();
  }
  std::vector<std::uint32_t> all;
  for (const auto& mine : costs)
    all.insert(all.end(), mine.begin(), mine.end());
  auto at = [&](double quantile) {
    auto nth = all.begin() + static_cast<std::ptrdiff_t>(quantile * double(all.size() - 1));
    std::nth_element(all.begin(), nth, all.end());
    return double(*nth);
  };
  state.counters["median_ns"] = at(0.5);
  state.counters["p99.9_ns"] = at(0.999);
  state.counters["worst_us"] = double(*std::max_element(all.begin(), all.end())) / 1000.0;
  // Four threads on fewer cores are preempted mid-call now and then; this says how often.
  state.counters["over_50us"] =
      double(std::count_if(all.begin(), all.end(), [](std::uint32_t ns) { return ns > 50'000; }));
  state.SetItemsProcessed(static_cast<std::int64_t>(all.size()));
}
BENCHMARK(BM_LogEventFromFourThreads)->Iterations(1)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
