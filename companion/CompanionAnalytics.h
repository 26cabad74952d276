#pragma once

#include <string>

#include "companion/ControlClient.h"

namespace companion {

// What orvanectl tells the analytics agent, as Orvane's extension: each command Orvane carried
// out is the watch event "orvanectl.<command>", each one that failed a watch error
// "orvanectl.<command>" with the reason. Made first thing in main, finished last.
class CompanionAnalytics {
 public:
  // Gives the agent orvanectl's application (extension mode, the shipped key file).
  CompanionAnalytics();
  void recordOutcome(const std::string& command, const ControlClient::Result& result);
  // Waits, briefly, for the recordings to be done before the process ends.
  void finish();
};

}  // namespace companion
