#pragma once

#include <memory>

#include "analytics/core/support/TallixFilePaths.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAutoIncrement;
class TallixClock;
class TallixCrashCapture;
class TallixDataSending;
class TallixGlobalVariableStorage;
class TallixSavedSessions;
class TallixSessionMeasurements;
class TallixSessionSaver;

// What a running session needs from the agent around it. Everything here outlives the
// sessions; the collaborators of later parts are null until they are wired in.
struct TallixSessionContext {
  const TallixClock& clock;
  TallixGlobalVariableStorage& settings;
  TallixAutoIncrement& counters;
  TallixFilePaths paths;
  TallixSavedSessions& savedSessions;
  TallixSessionSaver& saver;
  TallixSessionMeasurements& measurements;
  foundation::NotificationCenter& notificationCenter;
  std::shared_ptr<TallixDataSending> dataSender;
  std::shared_ptr<TallixCrashCapture> crashCapture;
};

}  // namespace tallix
