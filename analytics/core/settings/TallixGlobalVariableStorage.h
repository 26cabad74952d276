#pragma once

#include <atomic>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "analytics/core/settings/TallixPersistentMap.h"
#include "analytics/core/settings/TallixSettings.h"
#include "foundation/Date.h"

namespace tallix {

// The agent's process-wide settings and the maps it keeps on disk per API key. Calls come from
// any application thread and from the agent queue; one lock guards the settings.
class TallixGlobalVariableStorage {
 public:
  explicit TallixGlobalVariableStorage(std::string defaultAppVersion);

  TallixSettings settings() const;
  template <typename Change>
  void update(Change&& change) {
    std::lock_guard lock(mutex_);
    change(settings_);
  }

  // True for the first caller only: the agent starts once per process.
  bool markStartSessionCalled();
  // Removes every space from the key, keeps it, and loads the key's persistent maps.
  void setApiKey(std::string_view apiKey, const std::filesystem::path& directory);
  // Reads the key's first run from its file, or makes now the first run.
  void loadInitialTimestamp(const std::filesystem::path& path, foundation::Date now);
  // Every request carries all origins, so they are capped: an application names the few
  // libraries it is built from, and more than that is a caller adding one per call.
  static constexpr std::size_t kMaxOriginSets = 32;
  void recordOrigin(const std::string& originName, const std::string& originVersion,
                    const foundation::Value& parameters);
  void recordSessionProperties(const foundation::Value& properties);

  bool hasUserOptedOut() const { return optedOut_.load(std::memory_order_relaxed); }
  // Kept on disk at once when the key's maps are loaded, else as soon as they are; opting out
  // marks an opt-out session pending.
  void setOptOut(bool optOut);

  // The server sets cookies and every request sends them all back; a few dozen is far more
  // than it uses, and keeps a misbehaving server from growing every request and the file.
  static constexpr std::size_t kMaxCookies = 32;
  TallixPersistentMap& persistentGlobalsMap() { return globals_; }
  TallixPersistentMap& persistentCookiesMap() { return cookies_; }
  TallixPersistentMap& persistentUrlsMap() { return urls_; }
  TallixPersistentMap& persistentBeaconUrlsMap() { return beaconUrls_; }
  TallixPersistentMap& persistentBeaconPrepUrlsMap() { return beaconPrepUrls_; }
  void savePersistentGlobalsToDisk();

  // Partner callbacks and the configuration they come from are fetched only while this is on.
  bool beaconMonitoringEnabled() const { return beaconMonitoring_.load(); }
  void setBeaconMonitoringEnabled(bool enabled) { beaconMonitoring_ = enabled; }
  // One configuration exchange at a time: true for the caller that may start one.
  bool markBeaconRequestPending() { return !beaconRequestPending_.exchange(true); }
  void clearBeaconRequestPending() { beaconRequestPending_ = false; }
  bool beaconRequestPending() const { return beaconRequestPending_.load(); }
  // What the last configuration said; stored as it came, so a symbol reads back as 0.
  bool analyticsEnabled() const;
  int logLevel() const;

 private:
  template <typename Each>
  void forEachMap(Each&& each);

  mutable std::mutex mutex_;
  TallixSettings settings_;
  std::atomic<bool> startSessionCalled_{false};
  std::atomic<bool> optedOut_{false};
  std::atomic<bool> beaconMonitoring_{false};
  std::atomic<bool> beaconRequestPending_{false};
  // A choice made before the key's maps were loaded, which loading them must not undo.
  std::mutex optOutMutex_;
  std::optional<bool> optOutBeforeMaps_;
  TallixPersistentMap globals_{"persistentGlobalsMap"};
  TallixPersistentMap cookies_{"persistentCookiesMap", kMaxCookies};
  TallixPersistentMap urls_{"persistentUrlsMap"};
  TallixPersistentMap beaconUrls_{"tallixPersistenBeaconUrlsData"};
  TallixPersistentMap beaconPrepUrls_{"tallixPersistenBeaconPrepUrlsData"};
};

}  // namespace tallix
