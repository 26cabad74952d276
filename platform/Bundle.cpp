#include "platform/Bundle.h"

#include <system_error>

namespace platform {
namespace {

std::filesystem::path executableDirectory() {
  std::error_code error;
  auto executable = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::filesystem::path{} : executable.parent_path();
}

}  // namespace

const Bundle& Bundle::main() {
  static const Bundle bundle({executableDirectory() / ".." / "share" / "orvane",
                              std::filesystem::path(ORVANE_INSTALL_DATADIR)});
  return bundle;
}

Bundle::Bundle(std::vector<std::filesystem::path> resourceDirectories)
    : resourceDirectories_(std::move(resourceDirectories)) {}

std::string_view Bundle::bundleIdentifier() {
  return "org.orvane.Orvane";
}

std::filesystem::path Bundle::pathForResource(std::string_view name,
                                              std::string_view extension) const {
  auto fileName = std::string(name) + "." + std::string(extension);
  for (const auto& directory : resourceDirectories_) {
    std::error_code error;
    auto candidate = directory / fileName;
    if (std::filesystem::is_regular_file(candidate, error))
      return candidate.lexically_normal();
  }
  return {};
}

}  // namespace platform
