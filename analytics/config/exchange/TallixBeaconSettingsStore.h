#pragma once

#include <memory>

#include "analytics/config/exchange/TallixBeaconSettings.h"
#include "analytics/core/settings/TallixPersistentMap.h"

namespace tallix {

// The last configuration kept under "beaconSettings" in the agent's persistent globals. The
// map holds plain values, so the settings are kept as the text of their keyed archive: they
// come back through their archive reading, as stored objects always have (the connect
// timeouts read back as 0), not through their dictionary form. Saving the map to its file is
// its owner's business.
class TallixBeaconSettingsStore {
 public:
  static constexpr std::string_view kKey = "beaconSettings";

  explicit TallixBeaconSettingsStore(TallixPersistentMap& globals) : globals_(globals) {}

  // Null when nothing is stored or what is stored cannot be read.
  std::shared_ptr<const TallixBeaconSettings> load() const;
  void store(const TallixBeaconSettings& settings);
  void remove();

 private:
  TallixPersistentMap& globals_;
};

}  // namespace tallix
