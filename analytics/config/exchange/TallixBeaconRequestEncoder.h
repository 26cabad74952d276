#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "foundation/Value.h"

namespace tallix {

// What the configuration request says about the application and the device.
struct TallixBeaconRequestFields {
  std::string projectKey, bundleId, appVersion;
  std::int32_t sdkVersion = 155;
  std::int32_t platform = 2;
  std::string platformVersion;
  bool limitAdTracking = true;
  std::string hwMachine;
  std::optional<std::string> tallixId /*type 7*/, identifierForVendor /*type 6*/;
  double latitude = 0, longitude = 0;
  float accuracy = 0;
};

struct TallixEncodedBeaconRequest {
  foundation::Value::Bytes body;
  // CRC-32 of the body as a signed decimal, for the "fm-checksum" header.
  std::string checksum;
};

// Turns the request fields into the Avro ConfigRequest body the configuration service takes.
// The schemas are parsed at the first encode and kept for the encoder's life.
class TallixBeaconRequestEncoder {
 public:
  TallixBeaconRequestEncoder();
  ~TallixBeaconRequestEncoder();
  TallixBeaconRequestEncoder(const TallixBeaconRequestEncoder&) = delete;
  TallixBeaconRequestEncoder& operator=(const TallixBeaconRequestEncoder&) = delete;

  // Nothing when the schemas, the value or its encoding fail; each failure is logged.
  std::optional<TallixEncodedBeaconRequest> encode(const TallixBeaconRequestFields& fields);

 private:
  struct Schemas;
  bool parseSchemasOnce();

  std::unique_ptr<Schemas> schemas_;
};

}  // namespace tallix
