#pragma once

#include <optional>
#include <string>

namespace tallix {

// The device as every request body describes it, gathered once when the agent starts.
struct TallixDeviceDescription {
  std::string platform;
  std::string systemVersion;
  std::string architecture;
  int screenWidth = 0;
  int screenHeight = 0;
  std::string bundleIdentifier;
  // The agent's own id and the per-application vendor id; a body needs at least one.
  std::optional<std::string> tallixId;
  std::optional<std::string> identifierForVendor;
  // A desktop has no advertising identifier whose tracking the user could allow.
  bool adTrackingEnabled = false;
  // The agent runs in an extension's process rather than the application's.
  bool watchExtension = false;
};

}  // namespace tallix
