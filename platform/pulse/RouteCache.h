#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>

#include "platform/AudioSession.h"

namespace platform::pulse {

// The last route the server described, written by the loop's thread and read by anyone.
class RouteCache {
 public:
  // True when this answer replaces a different earlier one; the first answer is no change.
  // `identity` is what must differ for the route to have changed.
  bool store(AudioSessionRouteDescription route, std::string identity);

  // Only the first call may wait, a bounded while, for the server's first answer.
  AudioSessionRouteDescription current();

 private:
  std::mutex routeMutex_;
  std::condition_variable firstAnswer_;
  std::optional<std::chrono::steady_clock::time_point> firstWaitEnds_;
  bool answered_ = false;
  std::string identity_;
  AudioSessionRouteDescription route_;
};

}  // namespace platform::pulse
