#pragma once

#include <memory>
#include <vector>

#include "analytics/core/support/TallixFilePaths.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAgentService;
class TallixAutoIncrement;
class TallixClock;
class TallixCrashCapture;
class TallixGlobalVariableStorage;
class TallixSavedSessions;
class TallixSessionMeasurements;
class TallixSessionReporter;
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
  TallixSessionReporter& reporter;
  foundation::NotificationCenter& notificationCenter;
  std::shared_ptr<TallixCrashCapture> crashCapture;
  // Told of pauses and of a former session that never ended.
  const std::vector<std::shared_ptr<TallixAgentService>>& services;
  // Where the session keeps itself: the current-session file, or an extension's own.
  std::filesystem::path sessionFile = paths.currentSession();
};

}  // namespace tallix
