#include "analytics/core/report/TallixRequestBodyWriter.h"

#include <zlib.h>

#include <string>

#include "analytics/core/report/TallixDictionaryRecord.h"
#include "analytics/core/report/TallixProtocolData.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixAgentVersion.h"
#include "analytics/core/support/TallixClock.h"

namespace tallix {

using Data = TallixProtocolData;
using foundation::Date;
using foundation::Value;

namespace {

// Fixed values the server expects at the head of every body.
constexpr int kHeaderMagic = 31;
constexpr int kHeaderFormat = 4;
constexpr int kHeaderRevision = 1;
// A desktop is reported as the phone kind, not as the tablet kind (8).
constexpr int kDeviceKindPhone = 2;
constexpr int kApplicationKind = 1;
constexpr int kExtensionKind = 2;
constexpr int kTallixIdTag = 7;
constexpr int kVendorIdTag = 6;

void appendTextList(const Value& value, Value::Bytes& data) {
  if (const Value::Array* items = value.array()) {
    Data::appendUshort(static_cast<int>(items->size()), data);
    for (const Value& item : *items)
      TallixDictionaryRecord::appendValueText(item, data);
  } else {
    Data::appendUshort(1, data);
    TallixDictionaryRecord::appendValueText(value, data);
  }
}

}  // namespace

TallixRequestBodyWriter::TallixRequestBodyWriter(TallixGlobalVariableStorage& storage,
                                                 const TallixClock& clock,
                                                 TallixTrackedProperties& trackedProperties,
                                                 TallixDeviceDescription device)
    : storage_(storage),
      clock_(clock),
      trackedProperties_(trackedProperties),
      device_(std::move(device)) {}

std::optional<Value::Bytes> TallixRequestBodyWriter::dataForSessions(
    const std::vector<Bytes>& records, Date currentSessionStart, bool sentReportSuccessfully) {
  if (!device_.tallixId && !device_.identifierForVendor)
    return std::nullopt;
  const TallixSettings settings = storage_.settings();
  Bytes data;
  Data::appendUshort(kHeaderMagic, data);
  Data::appendUshort(kHeaderFormat, data);
  Data::appendUshort(kHeaderRevision, data);
  Data::appendLong(0, data);
  Data::appendUshort(0, data);
  Data::appendUshort(kDeviceKindPhone, data);
  Data::appendUshort(TallixAgentVersion::kVersion, data);
  Data::appendTimestamp(clock_.now(), data);
  Data::appendString(settings.apiKey, data);
  Data::appendString(settings.appVersion, data);
  Data::appendByte(device_.watchExtension ? kExtensionKind : kApplicationKind, data);
  appendIdentifiers(data);
  Data::appendByte(0, data);
  Data::appendBoolean(sentReportSuccessfully, data);
  Data::appendBoolean(device_.adTrackingEnabled, data);
  Data::appendTimestamp(settings.initialTimestamp.value_or(currentSessionStart), data);
  Data::appendTimestamp(currentSessionStart, data);
  appendDeviceProperties(data);
  Data::appendUshort(0, data);
  Data::appendBoolean(false, data);
  appendLaunchOptions(settings.launchOptions, data);
  appendOrigins(settings.originSets, data);
  Data::appendString(device_.bundleIdentifier, data);
  Data::appendUshort(static_cast<int>(records.size()), data);
  for (const Bytes& record : records)
    data.insert(data.end(), record.begin(), record.end());
  appendCookies(data);
  Data::appendInt(static_cast<std::int32_t>(dataChecksum(data.data(), data.size())), data);
  return data;
}

std::uint32_t TallixRequestBodyWriter::dataChecksum(const std::uint8_t* bytes, std::size_t size) {
  uLong crc = crc32(0L, Z_NULL, 0);
  // zlib takes lengths as 32-bit; a body is far smaller, but the loop keeps it right anyway.
  while (size > 0) {
    const auto chunk = static_cast<uInt>(std::min<std::size_t>(size, 1u << 30));
    crc = crc32(crc, bytes, chunk);
    bytes += chunk;
    size -= chunk;
  }
  return static_cast<std::uint32_t>(crc);
}

void TallixRequestBodyWriter::appendIdentifiers(Bytes& data) const {
  Data::appendUshort(
      int{device_.tallixId.has_value()} + int{device_.identifierForVendor.has_value()}, data);
  if (device_.tallixId) {
    Data::appendUshort(kTallixIdTag, data);
    Data::appendString(*device_.tallixId, data);
  }
  if (device_.identifierForVendor) {
    Data::appendUshort(kVendorIdTag, data);
    Data::appendString(*device_.identifierForVendor, data);
  }
}

void TallixRequestBodyWriter::appendDeviceProperties(Bytes& data) {
  const std::pair<const char*, std::string> properties[] = {
      {"device.model.1", device_.platform},
      {"device.os.version", device_.systemVersion},
      {"device.arch", device_.architecture},
      {"scr.width", std::to_string(device_.screenWidth)},
      {"scr.height", std::to_string(device_.screenHeight)},
  };
  Data::appendUshort(static_cast<int>(std::size(properties)), data);
  for (const auto& [key, value] : properties) {
    Data::appendString(key, data);
    Data::appendString(value, data);
    Data::appendBoolean(trackedProperties_.updateIfTrackedAndChangedPropertyValue(value, key),
                        data);
  }
}

void TallixRequestBodyWriter::appendLaunchOptions(const Value& options, Bytes& data) {
  const Value::Dictionary* entries = options.dictionary();
  Data::appendUshort(entries ? static_cast<int>(entries->size()) : 0, data);
  if (!entries)
    return;
  for (const auto& [key, value] : *entries) {
    Data::appendString(key, data);
    appendTextList(value, data);
  }
}

void TallixRequestBodyWriter::appendOrigins(const Value::Array& origins, Bytes& data) {
  Data::appendUshort(static_cast<int>(origins.size()), data);
  for (const Value& origin : origins) {
    const Value::Dictionary empty;
    const Value::Dictionary& entries = origin.dictionary() ? *origin.dictionary() : empty;
    const Value* name = origin.find("originName");
    TallixDictionaryRecord::appendValueText(name ? *name : Value(""), data);
    Data::appendUshort(static_cast<int>(entries.size()) - (name ? 1 : 0), data);
    for (const auto& [key, value] : entries) {
      if (key == "originName")
        continue;
      Data::appendString(key, data);
      TallixDictionaryRecord::appendValueText(value, data);
    }
  }
}

void TallixRequestBodyWriter::appendCookies(Bytes& data) const {
  const Value::Dictionary cookies = storage_.persistentCookiesMap().entries();
  Data::appendUshort(static_cast<int>(cookies.size()), data);
  for (const auto& [key, value] : cookies) {
    const std::string text = value.string() ? *value.string() : value.description();
    Data::appendShortData({reinterpret_cast<const std::uint8_t*>(key.data()), key.size()}, data);
    Data::appendShortData({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, data);
  }
}

}  // namespace tallix
