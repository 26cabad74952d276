// One configuration request as a session start makes it: the fields filled afresh, the Avro
// value built, rendered, encoded and checksummed by a long-lived encoder. Goal: 50 us median.
#include <benchmark/benchmark.h>

#include "analytics/config/exchange/TallixBeaconRequestEncoder.h"

namespace {

using tallix::TallixBeaconRequestFields;

TallixBeaconRequestFields typicalDevice() {
  TallixBeaconRequestFields fields;
  fields.projectKey = "ORVANE7K2XQ9M4PB3D8W";
  fields.bundleId = "com.orvane.announcer";
  fields.appVersion = "2.4.1";
  fields.platformVersion = "17.4.1";
  fields.limitAdTracking = false;
  fields.hwMachine = "iPhone15,3";
  fields.tallixId = "ID7F3E2A9C-41B8-4D6E-9A0F-2C5B8E1D7A34";
  fields.identifierForVendor = "5A8C2E1F-9B3D-4F7A-8E6C-1D0B9A2F3E4C";
  fields.latitude = 51.5072;
  fields.longitude = -0.1276;
  fields.accuracy = 65.0f;
  return fields;
}

void BM_BeaconRequest(benchmark::State& state) {
  tallix::TallixBeaconRequestEncoder encoder;
  for (auto _ : state) {
    const auto request = encoder.encode(typicalDevice());
    benchmark::DoNotOptimize(request->checksum.data());
  }
}
BENCHMARK(BM_BeaconRequest)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
