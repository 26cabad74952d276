#include "analytics/core/report/TallixTrackedProperties.h"

#include <algorithm>
#include <array>
#include <string>

#include "analytics/core/settings/TallixPersistentMap.h"

namespace tallix {

namespace {

// The properties whose change means something to the collector: the session's locale and
// time zone, and the device description of the request body.
constexpr std::array<std::string_view, 7> kTrackedKeys = {
    "device.locale", "default.timezone", "device.model.1", "device.os.version",
    "device.arch",   "scr.width",        "scr.height",
};

std::string storageKey(std::string_view key) {
  return "tracked." + std::string(key);
}

}  // namespace

TallixTrackedProperties::TallixTrackedProperties(TallixPersistentMap& lastReported)
    : lastReported_(lastReported) {}

bool TallixTrackedProperties::isTracked(std::string_view key) {
  return std::ranges::find(kTrackedKeys, key) != kTrackedKeys.end();
}

bool TallixTrackedProperties::updateIfTrackedAndChangedPropertyValue(std::string_view value,
                                                                     std::string_view key) {
  if (!isTracked(key))
    return false;
  const std::string stored = storageKey(key);
  const auto previous = lastReported_.valueForKey(stored);
  const std::string* previousText = previous ? previous->string() : nullptr;
  if (previousText && *previousText == value)
    return false;
  lastReported_.setValue(stored, foundation::Value(value));
  return true;
}

}  // namespace tallix
