#include "analytics/core/session/TallixSessionArchive.h"

#include "analytics/core/session/TallixEventLog.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionFields.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

namespace {

Value stringsToValue(const TallixSessionFields::Strings& strings) {
  Value::Dictionary entries;
  for (const auto& [key, text] : strings)
    entries.emplace(key, text);
  return Value(std::move(entries));
}

bool valueToStrings(const std::optional<Value>& value, TallixSessionFields::Strings& strings) {
  if (!value)
    return true;
  if (!value->dictionary())
    return false;
  for (const auto& [key, text] : *value->dictionary()) {
    if (!text.string())
      return false;
    strings.emplace(key, *text.string());
  }
  return true;
}

void encodeOptionalName(foundation::KeyedArchiver& coder, const char* flagKey, const char* key,
                        const std::optional<std::string>& name) {
  coder.encodeBool(flagKey, name.has_value());
  if (name)
    coder.encodeString(key, *name);
}

std::optional<std::string> decodeOptionalName(foundation::KeyedUnarchiver& coder,
                                              const char* flagKey, const char* key) {
  return coder.decodeBool(flagKey).value_or(false) ? coder.decodeString(key) : std::nullopt;
}

}  // namespace

void TallixSessionArchive::encode(const TallixSessionFields& fields, const TallixEventLog& eventLog,
                                  foundation::KeyedArchiver& coder) {
  coder.encodeInt32("serializationVersion", TallixSession::kSerializationVersion);
  coder.encodeString("apiKey", fields.apiKey);
  coder.encodeString("appVersion", fields.appVersion);
  coder.encodeDate("startTime", fields.startTime);
  if (fields.endTime)
    coder.encodeDate("endTime", *fields.endTime);
  if (fields.pauseTime)
    coder.encodeDate("pauseTime", *fields.pauseTime);
  coder.encodeInt64("pauseIntervalMillis", fields.totalPauseIntervalMillis);
  coder.encodeBool("setBackgroundSessionEnabled", fields.backgroundSessionEnabled);
  coder.encodeInt32("appApplicationState", fields.appApplicationState);
  encodeOptionalName(coder, "hasSessionOriginName", "sessionOriginName", fields.sessionOriginName);
  encodeOptionalName(coder, "hasDeepLinkName", "deepLinkName", fields.deepLinkName);
  coder.encodeValue("sessionPropertyParams", fields.sessionPropertyParams);
  coder.encodeValue("sessionParams", stringsToValue(fields.sessionParams));
  eventLog.encodeWithCoder(coder);
  coder.encodeObjects("errors", fields.errors);
  coder.encodeInt32("totalErrorCount", fields.totalErrorCount);
  coder.encodeValue("purchaseItems", Value(fields.purchaseItems));
  coder.encodeDouble("latitude", fields.latitude);
  coder.encodeDouble("longitude", fields.longitude);
  coder.encodeDouble("accuracy", fields.accuracy);
  coder.encodeBool("crashed", fields.crashed);
  if (fields.crashReportData)
    coder.encodeBytes("crashReportData", *fields.crashReportData);
  coder.encodeString("userID", fields.userID.value_or(""));
  coder.encodeInt32("pageViewCount", fields.pageViewCount);
  coder.encodeString("locale", fields.locale);
  coder.encodeString("timeZone", fields.timeZone);
  if (fields.age)
    coder.encodeDate("age", *fields.age);
  coder.encodeInt32("gender", fields.gender);
  coder.encodeString("watchAppVersion", fields.watchAppVersion);
  coder.encodeInt32("watchEventThreshold", fields.watchEventThreshold);
  coder.encodeInt32("watchDurationThreshold", fields.watchDurationThreshold);
}

bool TallixSessionArchive::decode(foundation::KeyedUnarchiver& coder, TallixSessionFields& fields,
                                  TallixEventLog& eventLog) {
  const auto apiKey = coder.decodeString("apiKey");
  const auto startTime = coder.decodeDate("startTime");
  if (!apiKey || !startTime)
    return false;
  fields.apiKey = *apiKey;
  fields.startTime = *startTime;
  fields.appVersion = coder.decodeString("appVersion").value_or("");
  fields.endTime = coder.decodeDate("endTime");
  fields.pauseTime = coder.decodeDate("pauseTime");
  fields.totalPauseIntervalMillis = coder.decodeInt64("pauseIntervalMillis").value_or(0);
  fields.backgroundSessionEnabled = coder.decodeBool("setBackgroundSessionEnabled").value_or(false);
  fields.appApplicationState = coder.decodeInt32("appApplicationState").value_or(0);
  fields.sessionOriginName = decodeOptionalName(coder, "hasSessionOriginName", "sessionOriginName");
  fields.deepLinkName = decodeOptionalName(coder, "hasDeepLinkName", "deepLinkName");
  fields.sessionPropertyParams =
      coder.decodeValue("sessionPropertyParams").value_or(Value::Dictionary{});
  const bool paramsRead = valueToStrings(coder.decodeValue("sessionParams"), fields.sessionParams);
  eventLog.decodeWithCoder(coder);
  fields.errors = coder.decodeObjects<TallixError>("errors").value_or(decltype(fields.errors){});
  fields.totalErrorCount = coder.decodeInt32("totalErrorCount").value_or(0);
  const auto purchases = coder.decodeValue("purchaseItems");
  if (purchases && purchases->array())
    fields.purchaseItems = *purchases->array();
  fields.latitude = coder.decodeDouble("latitude").value_or(0);
  fields.longitude = coder.decodeDouble("longitude").value_or(0);
  fields.accuracy = static_cast<float>(coder.decodeDouble("accuracy").value_or(0));
  fields.crashed = coder.decodeBool("crashed").value_or(false);
  fields.crashReportData = coder.decodeBytes("crashReportData");
  const auto userID = coder.decodeString("userID");
  fields.userID = userID && !userID->empty() ? userID : std::nullopt;
  fields.pageViewCount = coder.decodeInt32("pageViewCount").value_or(0);
  fields.locale = coder.decodeString("locale").value_or("");
  fields.timeZone = coder.decodeString("timeZone").value_or("");
  fields.age = coder.decodeDate("age");
  fields.gender = coder.decodeInt32("gender").value_or(-1);
  fields.watchAppVersion = coder.decodeString("watchAppVersion").value_or("");
  fields.watchEventThreshold = coder.decodeInt32("watchEventThreshold").value_or(0);
  fields.watchDurationThreshold = coder.decodeInt32("watchDurationThreshold").value_or(0);
  return paramsRead && !coder.failed();
}

}  // namespace tallix
