#include "companion/OrvanectlTallixApplication.h"

#include "foundation/ApplicationPaths.h"

namespace companion {

OrvanectlTallixApplication::OrvanectlTallixApplication(platform::InfoDictionary information)
    : information_(std::move(information)) {}

std::filesystem::path OrvanectlTallixApplication::dataDirectory() const {
  return foundation::ApplicationPaths("orvanectl").dataDirectory();
}

}  // namespace companion
