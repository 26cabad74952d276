#pragma once

#include <string_view>

namespace tallix {

class TallixPersistentMap;

// Tells the collector which device properties changed since they were last reported, so it
// can notice a new locale, time zone or system version without comparing every report. The
// last reported values live in the persistent globals and so survive restarts.
class TallixTrackedProperties {
 public:
  explicit TallixTrackedProperties(TallixPersistentMap& lastReported);

  static bool isTracked(std::string_view key);

  // True when the key is tracked and its value differs from the last one reported (or was
  // never reported); the value is kept as the last reported one. Untracked keys give false.
  bool updateIfTrackedAndChangedPropertyValue(std::string_view value, std::string_view key);

 private:
  TallixPersistentMap& lastReported_;
};

}  // namespace tallix
