#include "analytics/core/support/TallixAgentVersion.h"

#include "foundation/StringFormat.h"

namespace tallix {

std::string TallixAgentVersion::getAgentVersion() {
  return foundation::stringWithFormat("%d", kVersion);
}

std::string TallixAgentVersion::getAgentVersionWithBuild() {
  return foundation::stringWithFormat("Tallix_iOS_%d_%d.%d.%d%s%s", kVersion, 6, 7, 0, "", "");
}

}  // namespace tallix
