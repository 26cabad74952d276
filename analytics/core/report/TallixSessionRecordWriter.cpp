#include "analytics/core/report/TallixSessionRecordWriter.h"

#include <algorithm>
#include <cstdint>

#include "analytics/core/report/TallixDictionaryRecord.h"
#include "analytics/core/report/TallixErrorRecord.h"
#include "analytics/core/report/TallixEventRecord.h"
#include "analytics/core/report/TallixProtocolData.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixTimeInterval.h"

namespace tallix {

namespace {

using Bytes = TallixSessionRecordWriter::Bytes;
using Data = TallixProtocolData;

// The collector reads location and device status slots that this agent does not fill.
constexpr bool kHasLocation = true;
constexpr int kDeviceStatusUnknown = 0xFF;
constexpr int kNetworkStatusUnknown = 0;
constexpr int kPortrait = 1;
constexpr int kLandscape = 2;
// Enough for the fixed fields and a typical event, so most records never reallocate.
constexpr std::size_t kFixedRecordSize = 512;
constexpr std::size_t kTypicalEventSize = 256;

template <typename Pointers>
bool anyMissing(const Pointers& pointers) {
  return std::ranges::any_of(pointers, [](const auto& pointer) { return !pointer; });
}

bool carriesCrashReport(const TallixSessionFields& fields) {
  return fields.crashReportData && !fields.crashReportData->empty();
}

void appendOptionalString(const std::optional<std::string>& value, Bytes& data) {
  Data::appendBoolean(value.has_value(), data);
  if (value)
    Data::appendString(*value, data);
}

void appendOptionalTimestamp(const std::optional<foundation::Date>& value, Bytes& data) {
  Data::appendBoolean(value.has_value(), data);
  if (value)
    Data::appendTimestamp(*value, data);
}

// Ids are reported as 16-bit values, so the crash error follows the largest of those.
int nextErrorLogId(const TallixSessionFields& fields) {
  std::uint16_t largest = 0;
  for (const auto& error : fields.errors)
    largest = std::max(largest, static_cast<std::uint16_t>(error->errorID()));
  return largest + 1;
}

}  // namespace

TallixSessionRecordWriter::TallixSessionRecordWriter(TallixGlobalVariableStorage& storage,
                                                     const TallixClock& clock,
                                                     TallixTrackedProperties& trackedProperties,
                                                     NetworkStatusSource networkStatus,
                                                     LandscapeSource canvasInLandscape)
    : storage_(storage),
      clock_(clock),
      trackedProperties_(trackedProperties),
      networkStatus_(std::move(networkStatus)),
      canvasInLandscape_(std::move(canvasInLandscape)) {}

std::optional<Bytes> TallixSessionRecordWriter::data(TallixSession& session) {
  // Checked before anything is refreshed, so a record that cannot be written changes nothing.
  if (anyMissing(session.eventLog().events()) || anyMissing(session.fields().errors))
    return std::nullopt;
  TallixSessionFields& fields = session.mutableFields();
  refreshFromSettings(fields);

  Bytes data;
  data.reserve(kFixedRecordSize + kTypicalEventSize * session.eventLog().events().size());
  appendHeader(fields, data);
  appendLaunch(fields, data);
  appendParameters(fields, data);
  appendDevice(fields, data);
  appendUser(fields, data);
  appendEvents(session.eventLog(), fields.startTime, data);
  appendErrors(fields, data);
  appendReserved(data);
  return data;
}

void TallixSessionRecordWriter::refreshFromSettings(TallixSessionFields& fields) const {
  const TallixSettings settings = storage_.settings();
  fields.backgroundSessionEnabled = settings.backgroundSessionEnabled;
  fields.appApplicationState = settings.appApplicationState;
  fields.sessionOriginName = settings.sessionOriginName;
  fields.deepLinkName = settings.deepLinkName;
  const auto* globalProperties = settings.sessionParameters.dictionary();
  if (globalProperties && !globalProperties->empty())
    fields.sessionPropertyParams = settings.sessionParameters;
  fields.sessionParams.insert_or_assign("device.locale", fields.locale);
  fields.sessionParams.insert_or_assign("default.timezone", fields.timeZone);
}

void TallixSessionRecordWriter::appendHeader(const TallixSessionFields& fields, Bytes& data) const {
  Data::appendUshort(TallixSession::kSerializationVersion, data);
  Data::appendString(fields.appVersion, data);
  Data::appendTimestamp(fields.startTime, data);
  // -1 tells the collector the session never ended (it was cut short by a kill or crash).
  Data::appendLong(fields.endTime ? timeIntervalFrom(fields.startTime, fields.endTime) : -1, data);
  Data::appendLong(fields.totalPauseIntervalMillis, data);
}

void TallixSessionRecordWriter::appendLaunch(const TallixSessionFields& fields, Bytes& data) const {
  Data::appendBoolean(fields.backgroundSessionEnabled, data);
  Data::appendByte(fields.appApplicationState, data);
  appendOptionalString(fields.sessionOriginName, data);
  appendOptionalString(fields.deepLinkName, data);
}

void TallixSessionRecordWriter::appendParameters(const TallixSessionFields& fields,
                                                 Bytes& data) const {
  TallixDictionaryRecord::append(fields.sessionPropertyParams, data);
  Data::appendUshort(static_cast<int>(fields.sessionParams.size()), data);
  for (const auto& [key, value] : fields.sessionParams) {
    Data::appendString(key, data);
    Data::appendString(value, data);
    Data::appendBoolean(trackedProperties_.updateIfTrackedAndChangedPropertyValue(value, key),
                        data);
  }
}

void TallixSessionRecordWriter::appendDevice(const TallixSessionFields& fields, Bytes& data) const {
  Data::appendString(fields.locale, data);
  Data::appendString(fields.timeZone, data);
  Data::appendByte(networkStatus_ ? networkStatus_() : kNetworkStatusUnknown, data);
  Data::appendByte(canvasInLandscape_ && canvasInLandscape_() ? kLandscape : kPortrait, data);
}

void TallixSessionRecordWriter::appendUser(const TallixSessionFields& fields, Bytes& data) const {
  Data::appendString(fields.userID.value_or(""), data);
  Data::appendBoolean(kHasLocation, data);
  Data::appendDouble(fields.latitude, data);
  Data::appendDouble(fields.longitude, data);
  Data::appendFloat(fields.accuracy, data);
  Data::appendInt(fields.pageViewCount, data);
  Data::appendByte(kDeviceStatusUnknown, data);
  Data::appendByte(0, data);
  Data::appendByte(fields.gender, data);
  appendOptionalTimestamp(fields.age, data);
}

void TallixSessionRecordWriter::appendEvents(const TallixEventLog& eventLog,
                                             foundation::Date sessionStart, Bytes& data) const {
  Data::appendUshort(static_cast<int>(eventLog.counts().size()), data);
  for (const auto& [name, count] : eventLog.counts()) {
    Data::appendString(name, data);
    Data::appendInt(static_cast<std::int32_t>(count), data);
  }
  Data::appendUshort(static_cast<int>(eventLog.events().size()), data);
  for (const auto& event : eventLog.events())
    TallixEventRecord::appendRelativeToSessionStart(*event, sessionStart, data);
  Data::appendBoolean(eventLog.complete(), data);
}

void TallixSessionRecordWriter::appendErrors(const TallixSessionFields& fields, Bytes& data) const {
  // The crash itself is reported as one more error than the log holds.
  const int crashError = carriesCrashReport(fields) ? 1 : 0;
  Data::appendInt(fields.totalErrorCount + crashError, data);
  Data::appendUshort(static_cast<int>(fields.errors.size()) + crashError, data);
  for (const auto& error : fields.errors)
    TallixErrorRecord::appendToData(*error, data);
  if (crashError)
    appendCrashError(fields, data);
}

void TallixSessionRecordWriter::appendCrashError(const TallixSessionFields& fields,
                                                 Bytes& data) const {
  const TallixError crash(nextErrorLogId(fields), clock_.now(), "", "", "", TallixError::Crash,
                          *fields.crashReportData);
  TallixErrorRecord::appendToData(crash, data);
}

void TallixSessionRecordWriter::appendReserved(Bytes& data) {
  Data::appendInt(0, data);
  for (int slot = 0; slot < 3; ++slot)
    Data::appendUshort(0, data);
}

}  // namespace tallix
