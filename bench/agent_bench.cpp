// What logEvent costs the application's thread while a session runs and saves itself.
// Goal: 1 µs or less per call, median of the repetitions.
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/NotificationCenter.h"
#include "tests/foundation/TemporaryDirectory.h"

namespace {

using foundation::Value;
using namespace std::chrono_literals;

// The caller outruns the queue; now and then the clock stops while the queue catches up, so
// the backlog, and the memory it holds, stays bounded.
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

}  // namespace

BENCHMARK_MAIN();
