#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "analytics/core/report/TallixDeviceDescription.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

class TallixClock;
class TallixGlobalVariableStorage;
class TallixTrackedProperties;

// Wraps stored session records into the body of one upload: the device and application, the
// records, the server's cookies, and a closing CRC-32 of everything before it.
class TallixRequestBodyWriter {
 public:
  using Bytes = foundation::Value::Bytes;

  TallixRequestBodyWriter(TallixGlobalVariableStorage& storage, const TallixClock& clock,
                          TallixTrackedProperties& trackedProperties,
                          TallixDeviceDescription device);

  // Nothing when the device has no identifier at all: such a body could not be attributed.
  std::optional<Bytes> dataForSessions(const std::vector<Bytes>& records,
                                       foundation::Date currentSessionStart,
                                       bool sentReportSuccessfully);
  // IEEE 802.3 CRC-32; 0 for no bytes.
  static std::uint32_t dataChecksum(const std::uint8_t* bytes, std::size_t size);

 private:
  void appendIdentifiers(Bytes& data) const;
  void appendDeviceProperties(Bytes& data);
  static void appendLaunchOptions(const foundation::Value& options, Bytes& data);
  static void appendOrigins(const foundation::Value::Array& origins, Bytes& data);
  void appendCookies(Bytes& data) const;

  TallixGlobalVariableStorage& storage_;
  const TallixClock& clock_;
  TallixTrackedProperties& trackedProperties_;
  const TallixDeviceDescription device_;
};

}  // namespace tallix
