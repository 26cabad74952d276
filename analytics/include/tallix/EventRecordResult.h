#pragma once

namespace tallix {

// What became of a logged event. The facade answers at once with a prediction; the session's
// own answer can differ (it reports the name limit as LogFullOrDisabled, and keeps events
// logged during a pause as Deferred).
enum class EventRecordResult {
  Invalid = 0,
  Recorded = 1,
  NameLimitReached = 2,
  TooManyParameters = 3,
  LogFullOrDisabled = 4,
  Deferred = 5,
};

}  // namespace tallix
