#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "analytics/core/model/TallixError.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// What a session knows besides its events: identity, times, attributes, errors. Kept apart
// from the session's behaviour so the archive and the report can read it as plain data.
struct TallixSessionFields {
  using Strings = std::map<std::string, std::string, std::less<>>;

  std::string apiKey;
  std::string appVersion;
  // Also the session's id.
  foundation::Date startTime;
  std::optional<foundation::Date> endTime;
  // Set exactly while the session is paused.
  std::optional<foundation::Date> pauseTime;
  // When the application started to come back; not archived.
  std::optional<foundation::Date> resumeTime;
  std::int64_t totalPauseIntervalMillis = 0;
  bool backgroundSessionEnabled = false;
  int appApplicationState = 0;
  std::optional<std::string> sessionOriginName;
  std::optional<std::string> deepLinkName;
  foundation::Value sessionPropertyParams = foundation::Value::Dictionary{};
  // Device measurements at start and end.
  Strings sessionParams;
  std::vector<std::shared_ptr<TallixError>> errors;
  int totalErrorCount = 0;
  foundation::Value::Array purchaseItems;
  double latitude = 0;
  double longitude = 0;
  float accuracy = 0;
  bool crashed = false;
  std::optional<foundation::Value::Bytes> crashReportData;
  std::optional<std::string> userID;
  int pageViewCount = 0;
  std::string locale;
  std::string timeZone;
  // The start of the birth year.
  std::optional<foundation::Date> age;
  // 1 male, 0 female, -1 unknown.
  int gender = -1;
  // An extension's session only: the version it ran as, and the events and minutes after which
  // it is sent. Kept with the session, so one made by an earlier process ends by its own rules.
  std::string watchAppVersion;
  int watchEventThreshold = 0;
  int watchDurationThreshold = 0;
};

}  // namespace tallix
