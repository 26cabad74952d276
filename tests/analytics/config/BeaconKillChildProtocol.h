#pragma once

#include <cstdint>
#include <string_view>

#include "foundation/Date.h"

namespace tallix {

// What the beacon kill test and its child agree on.
struct BeaconKillChildProtocol {
  static constexpr const char* kApiKey = "BEACONKILL";
  static constexpr int kSessionsBeforeTheLine = 200;
  // Port 9 is closed on the loopback: each fired callback fails at once and stays pending.
  static constexpr std::string_view kUriTemplate =
      "http://127.0.0.1:9/partner?start=%{timestamp_epoch_millis}";

  // Session n starts n seconds after a fixed moment, so its key is known in advance.
  static foundation::Date sessionStart(int number) {
    return foundation::Date::fromTimeIntervalSince1970(1.7e9 + number);
  }
  static std::int64_t sessionKey(int number) {
    return static_cast<std::int64_t>(1.7e9 + number) * 1000;
  }
};

}  // namespace tallix
