#include "analytics/core/settings/TallixGlobalVariableStorage.h"

#include <algorithm>
#include <cstdlib>

#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

namespace {

// The user's choice outlives the process, like the cookies and addresses beside it.
constexpr std::string_view kOptOutKey = "optOut";

}  // namespace

TallixGlobalVariableStorage::TallixGlobalVariableStorage(std::string defaultAppVersion) {
  settings_.appVersion = std::move(defaultAppVersion);
}

TallixSettings TallixGlobalVariableStorage::settings() const {
  std::lock_guard lock(mutex_);
  return settings_;
}

bool TallixGlobalVariableStorage::markStartSessionCalled() {
  return !startSessionCalled_.exchange(true);
}

template <typename Each>
void TallixGlobalVariableStorage::forEachMap(Each&& each) {
  for (TallixPersistentMap* map : {&globals_, &cookies_, &urls_, &beaconUrls_, &beaconPrepUrls_})
    each(*map);
}

void TallixGlobalVariableStorage::setApiKey(std::string_view apiKey,
                                            const std::filesystem::path& directory) {
  std::string trimmed(apiKey);
  std::erase(trimmed, ' ');
  TallixLog::debug("Tallix: Trim white space and use apiKey[%s]", trimmed.c_str());
  const TallixFilePaths paths(directory, trimmed);
  forEachMap([&](TallixPersistentMap& map) { map.loadFrom(paths.persistentMap(map.name())); });
  update([&](TallixSettings& settings) { settings.apiKey = std::move(trimmed); });
  std::optional<bool> chosen;
  {
    std::lock_guard lock(optOutMutex_);
    chosen = optOutBeforeMaps_;
  }
  if (chosen)
    setOptOut(*chosen);
  else
    optedOut_ = globals_.valueForKey(kOptOutKey).value_or(false) == Value(true);
}

void TallixGlobalVariableStorage::loadInitialTimestamp(const std::filesystem::path& path,
                                                       foundation::Date now) {
  const auto archived = foundation::KeyedUnarchiver::unarchiveValueWithFile(path);
  std::optional<foundation::Date> first = archived ? archived->date() : std::nullopt;
  if (!first) {
    first = now;
    if (!foundation::KeyedArchiver::archiveRootValue(Value(now), path))
      TallixLog::debug("Tallix: first run not saved to disk at path[%s]", path.c_str());
  }
  update([&](TallixSettings& settings) { settings.initialTimestamp = first; });
}

void TallixGlobalVariableStorage::setOptOut(bool optOut) {
  std::lock_guard lock(optOutMutex_);
  optedOut_ = optOut;
  if (optOut)
    update([](TallixSettings& settings) { settings.optOutSessionPending = true; });
  globals_.setValue(kOptOutKey, optOut);
  if (!globals_.path()) {
    optOutBeforeMaps_ = optOut;
    return;
  }
  optOutBeforeMaps_.reset();
  if (!globals_.save())
    TallixLog::debug("%s: map not saved to disk at path[%s]", "-[Tallix setTallixOptOut:]",
                     globals_.path()->c_str());
}

void TallixGlobalVariableStorage::recordOrigin(const std::string& originName,
                                               const std::string& originVersion,
                                               const Value& parameters) {
  Value::Dictionary origin;
  if (const auto* entries = parameters.dictionary())
    origin = *entries;
  origin.insert_or_assign("originName", originName);
  origin.insert_or_assign("originVersion", originVersion);
  update([&](TallixSettings& settings) {
    if (settings.originSets.size() < kMaxOriginSets)
      settings.originSets.emplace_back(std::move(origin));
    else
      TallixLog::debug("Tallix: origin sets full, origin [%s] dropped", originName.c_str());
  });
}

void TallixGlobalVariableStorage::recordSessionProperties(const Value& properties) {
  if (!properties.dictionary())
    return;
  update([&](TallixSettings& settings) { settings.sessionParameters = properties; });
}

bool TallixGlobalVariableStorage::analyticsEnabled() const {
  return globals_.valueForKey("analyticsEnabled").value_or(false) == Value(true);
}

int TallixGlobalVariableStorage::logLevel() const {
  const auto stored = globals_.valueForKey("logLevel");
  const std::string* text = stored ? stored->string() : nullptr;
  // Read as a number, like any stored text: "DEBUG" and the other symbols give 0.
  return text ? std::atoi(text->c_str()) : 0;
}

void TallixGlobalVariableStorage::savePersistentGlobalsToDisk() {
  forEachMap([](const TallixPersistentMap& map) {
    if (!map.save()) {
      const auto path = map.path();
      TallixLog::debug("%s: map not saved to disk at path[%s]",
                       "-[TallixGlobalVariableStorage savePersistentGlobalsToDisk]",
                       path ? path->c_str() : "(none)");
    }
  });
}

}  // namespace tallix
