#pragma once

#include <filesystem>

#include "analytics/core/report/TallixDeviceDescription.h"

namespace tallix {

class TallixApplication;

// Gathers what every request body says about the device and the application, once per run.
class TallixDeviceDescriber {
 public:
  // The agent's directory must exist: the agent's own id is kept there.
  static TallixDeviceDescription describe(const TallixApplication& application,
                                          const std::filesystem::path& agentDirectory);
};

}  // namespace tallix
