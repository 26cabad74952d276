#pragma once

#include <memory>

#include "analytics/config/exchange/TallixBeaconSettings.h"
#include "analytics/core/settings/TallixPersistentMap.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// Reads the configuration service's answer, an Avro ConfigResponse in plain binary encoding.
// The schemas are parsed at the first answer and kept for the object's life.
class TallixBeaconResponse {
 public:
  TallixBeaconResponse();
  ~TallixBeaconResponse();
  TallixBeaconResponse(const TallixBeaconResponse&) = delete;
  TallixBeaconResponse& operator=(const TallixBeaconResponse&) = delete;

  // The settings of the answer, with the TTLs counted from its receipt; the log level and the
  // analytics flag go into the globals as they are read. Null for an answer that is not
  // exactly one ConfigResponse (logged); globals written before a missing field was met stay.
  std::shared_ptr<TallixBeaconSettings> parseBeaconResponse(const foundation::Value::Bytes& body,
                                                            TallixPersistentMap& globals,
                                                            foundation::Date receivedAt);

 private:
  struct Schemas;
  bool parseSchemasOnce();

  std::unique_ptr<Schemas> schemas_;
};

}  // namespace tallix
