#include "analytics/core/upload/TallixFileCache.h"

#include <mutex>
#include <system_error>

#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/StringFormat.h"

namespace tallix {

namespace {

std::mutex& instanceMutex() {
  static std::mutex mutex;
  return mutex;
}

std::shared_ptr<TallixFileCache>& sharedCache() {
  static std::shared_ptr<TallixFileCache> cache;
  return cache;
}

}  // namespace

TallixFileCache::TallixFileCache(std::filesystem::path agentDirectory, std::string apiKey,
                                 std::string agentVersion)
    : agentDirectory_(std::move(agentDirectory)),
      apiKey_(std::move(apiKey)),
      agentVersion_(std::move(agentVersion)) {}

void TallixFileCache::createInstanceWithApiKey(std::filesystem::path agentDirectory,
                                               std::string apiKey, std::string agentVersion) {
  std::shared_ptr<TallixFileCache> cache(
      new TallixFileCache(std::move(agentDirectory), std::move(apiKey), std::move(agentVersion)));
  std::lock_guard lock(instanceMutex());
  sharedCache() = std::move(cache);
}

std::shared_ptr<TallixFileCache> TallixFileCache::instance() {
  std::lock_guard lock(instanceMutex());
  return sharedCache();
}

void TallixFileCache::cleanup() {
  std::lock_guard lock(instanceMutex());
  sharedCache().reset();
}

bool TallixFileCache::save(const foundation::Value& object, std::string_view prefix,
                           bool forCurrentAgentVersion) const {
  if (foundation::KeyedArchiver::archiveRootValue(object, pathOf(prefix, forCurrentAgentVersion)))
    return true;
  TallixLog::debug("TallixFileCache: object[%s] cannot be saved to disk",
                   std::string(prefix).c_str());
  return false;
}

std::optional<foundation::Value> TallixFileCache::get(std::string_view prefix,
                                                      bool forCurrentAgentVersion) const {
  const auto path = pathOf(prefix, forCurrentAgentVersion);
  auto object = foundation::KeyedUnarchiver::unarchiveValueWithFile(path);
  std::error_code unknown;
  if (!object && std::filesystem::exists(path, unknown))
    TallixLog::debug("TallixFileCache: item at path[%s] unreadable, ignored", path.c_str());
  return object;
}

void TallixFileCache::remove(std::string_view prefix, bool forCurrentAgentVersion) const {
  std::error_code ignored;  // an item that was never saved is already removed
  std::filesystem::remove(pathOf(prefix, forCurrentAgentVersion), ignored);
}

std::filesystem::path TallixFileCache::pathOf(std::string_view prefix,
                                              bool forCurrentAgentVersion) const {
  return foundation::stringWithFormat("%s/tallixCache_%s_%s_%s.archive", agentDirectory_.c_str(),
                                      std::string(prefix).c_str(), apiKey_.c_str(),
                                      forCurrentAgentVersion ? agentVersion_.c_str() : "");
}

}  // namespace tallix
