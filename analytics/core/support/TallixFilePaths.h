#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace tallix {

// The names of the agent's files for one API key. Each name carries a hash of the key, and
// most the agent version, so keys and versions never read each other's state.
class TallixFilePaths {
 public:
  TallixFilePaths(std::filesystem::path directory, std::string_view apiKey);

  // A stable 32-bit hash of an API key (CRC-32 of its bytes).
  static std::int32_t apiKeyHash(std::string_view apiKey);

  const std::filesystem::path& directory() const { return directory_; }
  std::filesystem::path savedSessions() const;
  std::filesystem::path currentSession() const;
  // An extension's session and the counters that number its logs.
  std::filesystem::path watchSession() const;
  std::filesystem::path watchCounters() const;
  std::filesystem::path initialTimestamp() const;
  std::filesystem::path persistentMap(std::string_view mapName) const;

 private:
  std::filesystem::path versioned(const char* prefix) const;

  std::filesystem::path directory_;
  std::int32_t keyHash_;
};

}  // namespace tallix
