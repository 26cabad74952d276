#pragma once

#include <optional>
#include <string>

#include "analytics/core/model/TallixLimits.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// The agent's settings and state that outlive sessions, as one copyable record: readers take
// a snapshot, writers change it under the storage's lock.
struct TallixSettings {
  int pauseSecondsBeforeStartingNewSession = 10;
  bool sessionReportsOnCloseEnabled = true;
  bool sessionReportsOnPauseEnabled = true;
  // When on, leaving the application does not pause the session.
  bool backgroundSessionEnabled = false;
  bool crashReportingEnabled = false;
  // When off, events are counted but not logged.
  bool eventLoggingEnabled = true;
  // 0 active, 1 inactive, 2 background; -1 before the first state is seen.
  int appApplicationState = -1;
  int age = -1;
  int maxSessionsSaved = kDefaultMaxSavedSessions;
  // An opt-out has ended a session whose report the partner callbacks still owe.
  bool optOutSessionPending = false;
  std::string appVersion;
  std::string apiKey;
  std::optional<std::string> sessionOriginName;
  std::optional<std::string> deepLinkName;
  foundation::Value sessionParameters = foundation::Value::Dictionary{};
  foundation::Value launchOptions = foundation::Value::Dictionary{};
  foundation::Value::Array originSets;
  // The first time the agent ran for this API key on this machine.
  std::optional<foundation::Date> initialTimestamp;
  std::optional<foundation::Date> pauseTime;
  std::optional<foundation::Date> lastPageViewDate;
  // The application's last location: latitude, longitude, horizontal accuracy.
  struct Location {
    double latitude = 0;
    double longitude = 0;
    double horizontalAccuracy = 0;
  };
  std::optional<Location> location;
  std::optional<std::string> userID;
  std::optional<std::string> gender;

  bool hasSessionOriginName() const { return sessionOriginName.has_value(); }
  bool hasDeepLinkName() const { return deepLinkName.has_value(); }
};

}  // namespace tallix
