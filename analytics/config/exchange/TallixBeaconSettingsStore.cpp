#include "analytics/config/exchange/TallixBeaconSettingsStore.h"

#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

std::shared_ptr<const TallixBeaconSettings> TallixBeaconSettingsStore::load() const {
  const auto stored = globals_.valueForKey(kKey);
  const std::string* archive = stored ? stored->string() : nullptr;
  if (!archive)
    return nullptr;
  return foundation::KeyedUnarchiver::unarchiveObjectWithData<TallixBeaconSettings>(*archive);
}

void TallixBeaconSettingsStore::store(const TallixBeaconSettings& settings) {
  globals_.setValue(kKey, foundation::KeyedArchiver::archivedData(settings));
}

void TallixBeaconSettingsStore::remove() {
  globals_.removeValueForKey(kKey);
}

}  // namespace tallix
