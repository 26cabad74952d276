#include "analytics/core/agent/TallixDeviceDescriber.h"

#include "analytics/core/device/TallixDeviceIdentifiers.h"
#include "analytics/core/device/TallixDeviceMeasurements.h"
#include "tallix/TallixApplication.h"

namespace tallix {

TallixDeviceDescription TallixDeviceDescriber::describe(
    const TallixApplication& application, const std::filesystem::path& agentDirectory) {
  const TallixDeviceMeasurements measurements;
  TallixDeviceIdentifiers identifiers(agentDirectory, application.bundleIdentifier());
  const ScreenSize screen = application.screenSize();
  return {.platform = measurements.platformName(),
          .systemVersion = measurements.systemVersion(),
          .architecture = std::string(TallixDeviceMeasurements::architecture()),
          .screenWidth = screen.width,
          .screenHeight = screen.height,
          .bundleIdentifier = application.bundleIdentifier(),
          .tallixId = identifiers.tallixId(),
          .identifierForVendor = identifiers.identifierForVendor(),
          .watchExtension = application.isWatchExtension()};
}

}  // namespace tallix
