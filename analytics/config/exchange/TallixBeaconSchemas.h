#pragma once

#include <string_view>

namespace tallix {

// The Avro schemas of the configuration exchange, as JSON texts. Request and answer travel in
// Avro's plain binary encoding, so these texts are the whole contract with the service: the
// field order is the byte order. The namespace never reaches the wire.
struct TallixBeaconSchemas {
  static const std::string_view kConfigRequest;
  static const std::string_view kIosTags;
  static const std::string_view kGeolocation;
  static const std::string_view kDeviceId;

  static const std::string_view kConfigResponse;
  static const std::string_view kGlobalSettings;
  static const std::string_view kAppTemplate;
  static const std::string_view kCallbacks;
};

}  // namespace tallix
