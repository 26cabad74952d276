#include "analytics/core/support/TallixFilePaths.h"

#include <zlib.h>

#include "analytics/core/support/TallixAgentVersion.h"
#include "foundation/StringFormat.h"

namespace tallix {

using foundation::stringWithFormat;

TallixFilePaths::TallixFilePaths(std::filesystem::path directory, std::string_view apiKey)
    : directory_(std::move(directory)), keyHash_(apiKeyHash(apiKey)) {}

std::int32_t TallixFilePaths::apiKeyHash(std::string_view apiKey) {
  const auto crc =
      crc32(0L, reinterpret_cast<const Bytef*>(apiKey.data()), static_cast<uInt>(apiKey.size()));
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(crc));
}

std::filesystem::path TallixFilePaths::versioned(const char* prefix) const {
  return stringWithFormat("%s/.%s%d_%s.archive", directory_.c_str(), prefix, keyHash_,
                          TallixAgentVersion::getAgentVersion().c_str());
}

std::filesystem::path TallixFilePaths::savedSessions() const {
  return versioned("tallixStored");
}

std::filesystem::path TallixFilePaths::currentSession() const {
  return versioned("tallixCurrent");
}

std::filesystem::path TallixFilePaths::watchSession() const {
  return versioned("tallixCurrentWatch");
}

std::filesystem::path TallixFilePaths::watchCounters() const {
  return versioned("tallixCurrentWatchAutoIncrement");
}

std::filesystem::path TallixFilePaths::initialTimestamp() const {
  return stringWithFormat("%s/.initialTimestamp%d.archive", directory_.c_str(), keyHash_);
}

std::filesystem::path TallixFilePaths::persistentMap(std::string_view mapName) const {
  return versioned(std::string(mapName).c_str());
}

}  // namespace tallix
