#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The application's identity and its installed data files. Data files live in share/orvane
// beside the executable's bin/ directory, which holds both for an installed copy and for the
// build tree; the configured install prefix is the fallback.
class Bundle {
 public:
  static const Bundle& main();

  explicit Bundle(std::vector<std::filesystem::path> resourceDirectories);

  static std::string_view bundleIdentifier();

  // The first name.extension found in the resource directories, or an empty path.
  std::filesystem::path pathForResource(std::string_view name, std::string_view extension) const;

 private:
  std::vector<std::filesystem::path> resourceDirectories_;
};

}  // namespace platform
