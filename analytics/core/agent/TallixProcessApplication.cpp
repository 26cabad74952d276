#include "analytics/core/agent/TallixProcessApplication.h"

#include <cerrno>

#include "foundation/ApplicationPaths.h"

namespace tallix {

std::string TallixProcessApplication::bundleIdentifier() const {
  return program_invocation_short_name;
}

std::filesystem::path TallixProcessApplication::dataDirectory() const {
  return foundation::ApplicationPaths(bundleIdentifier()).dataDirectory();
}

}  // namespace tallix
