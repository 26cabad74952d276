#include "analytics/facade/TallixSharedAgent.h"

#include "analytics/config/callbacks/TallixBeaconEventController.h"
#include "analytics/crash/agent/TallixCrashReporterCapture.h"

namespace tallix {

TallixAgent& sharedAgent() {
  static TallixAgent agent([] {
    TallixEnvironment environment;
    environment.services.push_back(std::make_shared<TallixBeaconEventController>());
    environment.crashCapture = std::make_shared<TallixCrashReporterCapture>();
    return environment;
  }());
  return agent;
}

}  // namespace tallix
