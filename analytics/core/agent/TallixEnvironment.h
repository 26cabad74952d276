#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

#include "analytics/core/support/TallixClock.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAgentService;
class TallixCrashCapture;

// What an agent runs against. The shared agent takes the defaults: the system clock, the
// default notification centre and a folder in the application's data directory. Tests give
// their own, and later parts of the agent plug in here.
struct TallixEnvironment {
  std::shared_ptr<const TallixClock> clock = std::make_shared<TallixSystemClock>();
  foundation::NotificationCenter* notificationCenter = nullptr;
  // Where the agent keeps its files; by default "Tallix" in the application's data directory.
  std::optional<std::filesystem::path> fileDirectory;
  std::shared_ptr<TallixCrashCapture> crashCapture;
  std::vector<std::shared_ptr<TallixAgentService>> services;
};

}  // namespace tallix
