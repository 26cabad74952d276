#pragma once

#include <filesystem>
#include <string>

namespace foundation {

// Where an application keeps its files, by the XDG base directory rules: $XDG_DATA_HOME and
// $XDG_CACHE_HOME when set to absolute paths, else ~/.local/share and ~/.cache. Each
// directory is created, private to the user (0700), the first time it is asked for.
class ApplicationPaths {
 public:
  explicit ApplicationPaths(std::string applicationName);

  std::filesystem::path dataDirectory() const;
  std::filesystem::path cacheDirectory() const;

 private:
  std::filesystem::path existingDirectory(const char* variable, const char* fallback) const;

  std::string applicationName_;
};

}  // namespace foundation
