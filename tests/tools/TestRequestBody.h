#pragma once

#include <zlib.h>

#include <string>
#include <utility>
#include <vector>

#include "analytics/core/report/TallixProtocolData.h"

namespace tallix {

// A request body laid out by hand, field by field, for the collector's tests: the values are
// distinct so a decoder that reads one field in place of another gives itself away.
struct TestRequestBody {
  using Bytes = TallixProtocolData::Bytes;
  using Data = TallixProtocolData;

  static constexpr std::int64_t kWrittenMs = 1700000100000;
  static constexpr std::int64_t kInitialMs = 1600000000000;
  static constexpr std::int64_t kSessionStartMs = 1700000000000;

  std::string apiKey = "ORVANE-KEY";
  std::vector<Bytes> sessions;
  std::vector<std::pair<std::string, std::string>> cookies = {{"srv", "abc"}};

  Bytes unsealed() const {
    Bytes data;
    for (int value : {31, 4, 1})
      Data::appendUshort(value, data);
    Data::appendLong(0, data);
    Data::appendUshort(0, data);
    Data::appendUshort(2, data);    // device kind
    Data::appendUshort(155, data);  // agent version
    Data::appendLong(kWrittenMs, data);
    Data::appendString(apiKey, data);
    Data::appendString("2.1", data);
    Data::appendByte(1, data);
    appendDeviceIds(data);
    Data::appendByte(0, data);
    Data::appendBoolean(true, data);   // sent a report before
    Data::appendBoolean(false, data);  // ad tracking
    Data::appendLong(kInitialMs, data);
    Data::appendLong(kSessionStartMs, data);
    appendDeviceProperties(data);
    Data::appendUshort(0, data);
    Data::appendBoolean(false, data);
    appendLaunchOptionsAndOrigins(data);
    Data::appendString("org.orvane.Orvane", data);
    Data::appendUshort(static_cast<int>(sessions.size()), data);
    for (const Bytes& session : sessions)
      data.insert(data.end(), session.begin(), session.end());
    Data::appendUshort(static_cast<int>(cookies.size()), data);
    for (const auto& [key, value] : cookies) {
      Data::appendShortData(bytes(key), data);
      Data::appendShortData(bytes(value), data);
    }
    return data;
  }

  Bytes build() const { return sealed(unsealed()); }

  static Bytes sealed(Bytes data) {
    Data::appendInt(static_cast<std::int32_t>(crc32(0L, data.data(), data.size())), data);
    return data;
  }

 private:
  static Data::ByteSpan bytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
  }
  static void appendDeviceIds(Bytes& data) {
    Data::appendUshort(3, data);
    Data::appendUshort(7, data);
    Data::appendString("tallix-id", data);
    Data::appendUshort(6, data);
    Data::appendString("vendor-id", data);
    Data::appendUshort(4, data);
    Data::appendShortData(Bytes{0xAB, 0xCD, 0xEF}, data);
  }
  static void appendDeviceProperties(Bytes& data) {
    Data::appendUshort(2, data);
    Data::appendString("device.arch", data);
    Data::appendString("x86_64", data);
    Data::appendBoolean(true, data);
    Data::appendString("scr.width", data);
    Data::appendString("1920", data);
    Data::appendBoolean(false, data);
  }
  static void appendLaunchOptionsAndOrigins(Bytes& data) {
    Data::appendUshort(1, data);
    Data::appendString("url", data);
    Data::appendUshort(2, data);
    Data::appendString("orvane://talk", data);
    Data::appendString("second", data);
    Data::appendUshort(1, data);
    Data::appendString("mail", data);
    Data::appendUshort(1, data);
    Data::appendString("campaign", data);
    Data::appendString("spring", data);
  }
};

}  // namespace tallix
