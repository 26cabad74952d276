#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "analytics/core/support/TallixFilePaths.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

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
class TallixSession;
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
  // The session's report record; nothing when it cannot be written.
  std::function<std::optional<foundation::Value::Bytes>(TallixSession&)> recordOf;
  // The request body carrying records, for a current session that began at the given time.
  std::function<std::optional<foundation::Value::Bytes>(
      const std::vector<foundation::Value::Bytes>& records, foundation::Date currentSessionStart,
      bool sentReportSuccessfully)>
      bodyOf;
  foundation::NotificationCenter& notificationCenter;
  std::shared_ptr<TallixDataSending> dataSender;
  std::shared_ptr<TallixCrashCapture> crashCapture;
};

}  // namespace tallix
