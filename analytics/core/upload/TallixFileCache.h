#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "foundation/Value.h"

namespace tallix {

// Objects other parts of the agent keep between launches, one archive file an item, per API key
// and, unless the caller says otherwise, per agent version, so an upgraded agent never reads
// what an older one cached. The process has one cache; it is created at start-up and asked for
// from the agent queue and other threads, so the instance itself is guarded.
class TallixFileCache {
 public:
  static void createInstanceWithApiKey(std::filesystem::path agentDirectory, std::string apiKey,
                                       std::string agentVersion);
  // Null before createInstanceWithApiKey and after cleanup.
  static std::shared_ptr<TallixFileCache> instance();
  static void cleanup();

  // False when the item could not be written; an older copy of it is then left as it was.
  bool save(const foundation::Value& object, std::string_view prefix,
            bool forCurrentAgentVersion = true) const;
  // Nothing for an item never saved, removed, or whose file is damaged.
  std::optional<foundation::Value> get(std::string_view prefix,
                                       bool forCurrentAgentVersion = true) const;
  void remove(std::string_view prefix, bool forCurrentAgentVersion = true) const;

 private:
  TallixFileCache(std::filesystem::path agentDirectory, std::string apiKey,
                  std::string agentVersion);
  std::filesystem::path pathOf(std::string_view prefix, bool forCurrentAgentVersion) const;

  const std::filesystem::path agentDirectory_;
  const std::string apiKey_;
  const std::string agentVersion_;
};

}  // namespace tallix
