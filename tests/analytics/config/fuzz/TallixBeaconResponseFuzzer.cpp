// Any answer the configuration service sends must be read without a crash, a leak or a huge
// allocation. An answer is either taken whole, with both globals written and no more
// templates than it has bytes, or refused before anything reaches the globals: a well-formed
// ConfigResponse always holds every field, so a refusal can only come from its encoding.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "analytics/config/exchange/TallixBeaconResponse.h"
#include "analytics/core/settings/TallixPersistentMap.h"

namespace {

using foundation::Value;

constexpr std::array<std::string_view, 8> kLogLevels = {"ALL",  "DEBUG", "ERROR", "FATAL",
                                                        "INFO", "OFF",   "TRACE", "WARN"};

void check(bool holds) {
  if (!holds)
    std::abort();
}

bool isLogLevel(const Value* stored) {
  const std::string* name = stored ? stored->string() : nullptr;
  return name && std::find(kLogLevels.begin(), kLogLevels.end(), *name) != kLogLevels.end();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static tallix::TallixBeaconResponse response;  // schemas parsed once, as in the agent
  // A map never bound to a file: runs touch no disk.
  tallix::TallixPersistentMap globals("persistentGlobalsMap");
  const auto settings = response.parseBeaconResponse(
      Value::Bytes(data, data + size), globals, foundation::Date::fromTimeIntervalSince1970(1e9));
  const Value entries(globals.entries());
  if (!settings) {
    check(entries.dictionary()->empty());
    return 0;
  }
  check(entries.dictionary()->size() == 2);
  check(isLogLevel(entries.find("logLevel")));
  check(entries.find("analyticsEnabled")->boolean().has_value());
  check(settings->callbacks().size() <= size);
  return 0;
}
