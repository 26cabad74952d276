// The session record at its largest: a full event log whose events each carry the most
// parameters allowed, and a full error log. Goal: 200 MB/s or more of record written.
#include <benchmark/benchmark.h>

#include <string>

#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/report/TallixRequestBodyWriter.h"
#include "analytics/core/report/TallixSessionRecordWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "tests/analytics/report/SessionDraft.h"

namespace {

using foundation::Date;
using foundation::Value;
using namespace tallix;

const Date kStart = Date::fromTimeIntervalSince1970(1700000000);

// Half text, half numbers, as applications log them.
Value parameters(std::size_t event) {
  Value::Dictionary entries;
  for (std::size_t i = 0; i < kMaxParametersPerEvent; ++i) {
    const std::string key = "parameter." + std::to_string(i);
    if (i % 2)
      entries.emplace(key, static_cast<std::int64_t>(event * 1000 + i));
    else
      entries.emplace(key, "value of " + std::to_string(event) + "." + std::to_string(i));
  }
  return Value(std::move(entries));
}

std::shared_ptr<TallixSession> fullSession() {
  SessionDraft draft;
  draft.fields.startTime = kStart;
  draft.fields.endTime = kStart.dateByAddingTimeInterval(3600);
  draft.fields.locale = "en_GB";
  draft.fields.timeZone = "Europe/London";
  for (std::size_t i = 0; i < kMaxLoggedEvents; ++i) {
    auto event =
        std::make_shared<TallixEvent>("event." + std::to_string(i % 100), true, parameters(i),
                                      kStart.dateByAddingTimeInterval(i), static_cast<int>(i + 1));
    event->end(kStart.dateByAddingTimeInterval(i + 0.5));
    draft.eventLog.put(std::move(event), true);
  }
  for (std::size_t i = 0; i < kMaxLoggedErrors; ++i) {
    draft.fields.errors.push_back(std::make_shared<TallixError>(
        static_cast<int>(i + 1), kStart.dateByAddingTimeInterval(i), "E" + std::to_string(i),
        "Could not open the take", "std::runtime_error: disk full", TallixError::Exception,
        Value::Bytes{}));
  }
  draft.fields.totalErrorCount = static_cast<int>(kMaxLoggedErrors);
  return draft.session();
}

void BM_FullSessionRecord(benchmark::State& state) {
  TallixGlobalVariableStorage storage("1.0");
  TallixSystemClock clock;
  TallixTrackedProperties tracked(storage.persistentGlobalsMap());
  TallixSessionRecordWriter writer(storage, clock, tracked);
  const auto session = fullSession();
  std::size_t written = 0;
  for (auto _ : state) {
    const auto data = writer.data(*session);
    written += data->size();
    benchmark::DoNotOptimize(data->data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(written));
  state.counters["record_bytes"] = static_cast<double>(written) / state.iterations();
}
BENCHMARK(BM_FullSessionRecord)->Unit(benchmark::kMicrosecond);

// The closing checksum over a body of 50 full session records, the most one upload carries.
void BM_BodyChecksum(benchmark::State& state) {
  std::vector<std::uint8_t> body(50 * 281 * 1024);
  for (std::size_t at = 0; at < body.size(); ++at)
    body[at] = static_cast<std::uint8_t>(at * 131 + 7);
  for (auto _ : state)
    benchmark::DoNotOptimize(TallixRequestBodyWriter::dataChecksum(body.data(), body.size()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * body.size()));
}
BENCHMARK(BM_BodyChecksum)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
