#include "analytics/core/session/TallixSession.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <stdexcept>

#include "analytics/core/model/TallixAutoIncrement.h"
#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSessionArchive.h"
#include "analytics/core/session/TallixSessionContext.h"
#include "analytics/core/session/TallixSessionMeasurements.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/StringFormat.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

namespace {

constexpr double kPageViewDebounceSeconds = 0.3;
constexpr int kOldestAge = 150;

// Truncated toward zero to three decimals, as locations are kept.
double truncatedToThousandths(double value) {
  return std::trunc(value * 1000.0) / 1000.0;
}

int localYear(Date date) {
  const auto seconds = static_cast<std::time_t>(date.timeIntervalSince1970());
  std::tm parts{};
  localtime_r(&seconds, &parts);
  return parts.tm_year + 1900;
}

Date startOfLocalYear(int year) {
  std::tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mday = 1;
  parts.tm_isdst = -1;
  return Date::fromTimeIntervalSince1970(static_cast<double>(std::mktime(&parts)));
}

}  // namespace

std::shared_ptr<TallixSession> TallixSession::initWithAPIKey(
    std::shared_ptr<const TallixSessionContext> context, std::string apiKey, std::string appVersion,
    Date startDate) {
  auto session = std::shared_ptr<TallixSession>(new TallixSession());
  session->context_ = std::move(context);
  session->fields_.apiKey = std::move(apiKey);
  session->fields_.appVersion = std::move(appVersion);
  session->fields_.startTime = startDate;
  session->resetSessionData();
  TallixLog::debug("TallixSession: Initialized session from scratch with startTime[%s]",
                   startDate.description().c_str());
  return session;
}

std::shared_ptr<TallixSession> TallixSession::initWithCoder(foundation::KeyedUnarchiver& coder) {
  auto session = std::shared_ptr<TallixSession>(new TallixSession());
  if (!TallixSessionArchive::decode(coder, session->fields_, session->eventLog_))
    return nullptr;
  return session;
}

void TallixSession::encodeWithCoder(foundation::KeyedArchiver& coder) const {
  TallixSessionArchive::encode(fields_, eventLog_, coder);
}

std::string TallixSession::sessionIdFor(Date startTime) {
  return foundation::stringWithFormat("%lld",
                                      static_cast<long long>(timeIntervalFrom(Date(), startTime)));
}

const TallixSessionContext& TallixSession::context() const {
  if (!context_)
    throw std::logic_error("a session read back from disk can be reported, not run");
  return *context_;
}

Date TallixSession::now() const {
  return context().clock.now();
}

EventRecordResult TallixSession::recordEvent(const Value& eventName, const Value& parameters,
                                             bool timed) {
  const std::string* name = eventName.string();
  if ((!name && !eventName.isNull()) || (!parameters.isNull() && !parameters.dictionary()))
    return EventRecordResult::Invalid;
  const char* printableName = name ? name->c_str() : "(null)";
  if (TallixLog::debugEnabled()) {
    TallixLog::debug("TallixSession: Attempting to record Event eventName[%s] with parameters[%s]",
                     printableName, parameters.description().c_str());
  }
  EventRecordResult result;
  if (!name || name->empty()) {
    eventLog_.markIncomplete();
    TallixLog::refusal("TallixSession: Not logging Event eventName[%s] due to invalid eventName",
                       printableName);
    result = EventRecordResult::Invalid;
  } else if (parameters.dictionary() && parameters.dictionary()->size() > kMaxParametersPerEvent) {
    eventLog_.markIncomplete();
    TallixLog::refusal(
        "TallixSession: Not logging Event eventName[%s] because event has more than %d "
        "parameters (max allowed parameters).",
        printableName, static_cast<int>(kMaxParametersPerEvent));
    result = EventRecordResult::TooManyParameters;
  } else {
    auto event = std::make_shared<TallixEvent>(
        *name, timed, parameters, now(),
        context().counters.nextCountFor(TallixAutoIncrement::EventLogId));
    if (isPaused()) {
      eventLog_.putPending(std::move(event));
      TallixLog::debug("TallixSession: Event log for eventName[%s] put to pending", printableName);
      result = EventRecordResult::Deferred;
    } else {
      result = eventLog_.put(std::move(event), eventLoggingEnabled_);
    }
  }
  saveToDisk();
  return result;
}

void TallixSession::countEvents(const std::string& eventName, std::int64_t times) {
  eventLog_.count(eventName, times);
  saveToDisk();
}

void TallixSession::markEventLogIncomplete() {
  eventLog_.markIncomplete();
  saveToDisk();
}

void TallixSession::endTimedEvent(const std::string& eventName, const Value& parameters) {
  const auto event = eventLog_.firstUnterminated(eventName);
  if (!event)
    return;
  const Date endedAt = now();
  event->end(endedAt);
  event->updateParameters(parameters);
  TallixLog::debug("TallixSession: event named[%s] ended at %s", eventName.c_str(),
                   endedAt.description().c_str());
  saveToDisk();
}

void TallixSession::endTimedEvents() {
  if (fields_.endTime)
    eventLog_.endTimedEvents(*fields_.endTime);
}

void TallixSession::recordErrorWithException(const std::string& errorId, const std::string& message,
                                             const std::optional<std::string>& exception,
                                             std::optional<Value::Bytes> liveReport) {
  const std::string exceptionString = exception.value_or("nil");
  TallixLog::debug("TallixSession: Recording error id[%s] with message[%s] and exception[%s]",
                   errorId.c_str(), message.c_str(), exceptionString.c_str());
  recordError(errorId, message, exceptionString, TallixError::Exception, std::move(liveReport));
  TallixLog::debug(
      "TallixSession: Recording error id[%s] with message[%s] and exception[%s] complete",
      errorId.c_str(), message.c_str(), exceptionString.c_str());
}

void TallixSession::recordErrorWithError(const std::string& errorId, const std::string& message,
                                         const std::error_code& error,
                                         std::optional<Value::Bytes> liveReport) {
  const std::string description = error.message();
  const std::string errorString =
      foundation::stringWithFormat("%s: %s", description.c_str(), error.category().name());
  TallixLog::debug("TallixSession: Recording error id[%s] with message[%s] and error[%s]",
                   errorId.c_str(), message.c_str(), description.c_str());
  recordError(errorId, message, errorString, TallixError::ErrorObject, std::move(liveReport));
  TallixLog::debug("TallixSession: Recording error id[%s] with message[%s] and error[%s] complete",
                   errorId.c_str(), message.c_str(), description.c_str());
}

void TallixSession::recordError(const std::string& errorId, const std::string& message,
                                const std::string& exceptionString, int errorType,
                                std::optional<Value::Bytes> liveReport) {
  ++fields_.totalErrorCount;
  if (fields_.errors.size() >= kMaxLoggedErrors) {
    TallixLog::debug("TallixSession: Error id[%s] not recorded", errorId.c_str());
  } else {
    Value::Bytes reportData;
    if (liveReport && crashReportingEnabled_)
      reportData = std::move(*liveReport);
    auto error = std::make_shared<TallixError>(
        context().counters.nextCountFor(TallixAutoIncrement::ErrorLogId), now(), errorId, message,
        exceptionString, errorType, std::move(reportData));
    TallixLog::debug("TallixSession: Error id[%d] updated", error->errorID());
    fields_.errors.push_back(std::move(error));
  }
  saveToDisk();
}

void TallixSession::recordPurchaseItem(const Value& item) {
  if (item.isNull())
    return;
  fields_.purchaseItems.push_back(item);
  saveToDisk();
}

void TallixSession::setUserID(std::optional<std::string> userID) {
  TallixLog::debug("TallixSession: Set userID[%s]", userID.value_or("(null)").c_str());
  fields_.userID = std::move(userID);
  saveToDisk();
}

void TallixSession::setGenderAsString(const std::string& gender) {
  fields_.gender = gender == "m" ? 1 : gender == "f" ? 0 : -1;
  TallixLog::debug("TallixSession: given gender [%s], _gender = [%d]", gender.c_str(),
                   fields_.gender);
  saveToDisk();
}

void TallixSession::setAgeInYears(int years) {
  if (years < 1 || years > kOldestAge)
    return;
  fields_.age = startOfLocalYear(localYear(now()) - years);
  TallixLog::debug("TallixSession: set age to [%s]", fields_.age->description().c_str());
  saveToDisk();
}

void TallixSession::setLatitude(double latitude, double longitude, double horizontalAccuracy,
                                double verticalAccuracy) {
  fields_.latitude = truncatedToThousandths(latitude);
  fields_.longitude = truncatedToThousandths(longitude);
  fields_.accuracy = static_cast<float>(
      truncatedToThousandths((std::fabs(horizontalAccuracy) + std::fabs(verticalAccuracy)) / 2));
  TallixLog::debug("TallixSession: New location set with lat[%f] long[%f] accuracy[%f]",
                   fields_.latitude, fields_.longitude, static_cast<double>(fields_.accuracy));
  saveToDisk();
}

void TallixSession::maybeIncrementPageView() {
  const Date viewedAt = now();
  auto& settings = context().settings;
  const auto last = settings.settings().lastPageViewDate;
  if (!last || viewedAt.timeIntervalSince(*last) > kPageViewDebounceSeconds)
    ++fields_.pageViewCount;
  settings.update([&](TallixSettings& s) { s.lastPageViewDate = viewedAt; });
  saveToDisk();
}

void TallixSession::setEventLoggingEnabled(bool enabled) {
  eventLoggingEnabled_ = enabled;
  TallixLog::debug("TallixSession: Event logging enabled[%d]", enabled);
}

void TallixSession::setSessionReportsOnCloseEnabled(bool enabled) {
  reportsOnClose_ = enabled;
  TallixLog::debug("TallixSession: Session reports on close enabled[%d]", enabled);
}

void TallixSession::setSessionReportsOnPauseEnabled(bool enabled) {
  reportsOnPause_ = enabled;
  TallixLog::debug("TallixSession: Session reports on pause enabled[%d]", enabled);
}

void TallixSession::setCrashReportingEnabled(bool enabled) {
  crashReportingEnabled_ = enabled;
  TallixLog::debug("TallixSession: Crash reporting enabled[%d]", enabled);
}

void TallixSession::setBackgroundSessionEnabled(bool enabled) {
  fields_.backgroundSessionEnabled = enabled;
  saveToDisk();
}

void TallixSession::pauseSession() {
  if (reportedAtEnd_)
    return;
  fields_.pauseTime = now();
  TallixLog::debug("TallixSession: Pause session with pauseTime[%s]",
                   fields_.pauseTime->description().c_str());
  finishSession();
  for (const auto& service : context().services)
    service->sessionDidPause(span());
  // Without an uploader the paused session stays on disk, to be reported when it ends.
  if (reportsNow(reportsOnPause_)) {
    context().reporter.sendSessionsToServerIncludingCurrentSession(*this, context().savedSessions);
    context().saver.removeFile(context().sessionFile);
  } else {
    saveToDisk();
  }
  context().settings.savePersistentGlobalsToDisk();
}

TallixSessionSpan TallixSession::span() const {
  return {fields_.startTime, fields_.endTime, fields_.totalPauseIntervalMillis};
}

void TallixSession::markSessionAsResuming() {
  fields_.resumeTime = isPaused() ? std::optional<Date>(now()) : std::nullopt;
}

void TallixSession::resumeSession() {
  if (!isPaused())
    return;
  const Date resumedAt = now();
  fields_.totalPauseIntervalMillis += timeIntervalFrom(fields_.pauseTime, resumedAt);
  fields_.pauseTime.reset();
  fields_.resumeTime.reset();
  eventLog_.mergePending(eventLoggingEnabled_);
  saveToDisk();
  TallixLog::debug("TallixSession: Resume session with resumeTime[%s]",
                   resumedAt.description().c_str());
}

void TallixSession::archiveSession() {
  eventLog_.mergeValidPending(fields_.resumeTime, eventLoggingEnabled_);
  auto& saved = context().savedSessions;
  if (!reportedAtEnd_) {
    if (!reportsOnPause_ || !eventLog_.events().empty())
      saved.addToSavedSessions(*this);
    else
      saved.setSavedSessions({});  // an empty session reported on pause clears what is stored
  }
  fields_.resumeTime.reset();
  context().saver.removeFile(context().sessionFile);
}

void TallixSession::endSession() {
  if (reportedAtEnd_)
    return;
  finishSession();
  // A session handed to the uploader is not kept again, or it would be sent twice.
  if (reportsNow(reportsOnClose_))
    context().reporter.sendSessionsToServerIncludingCurrentSession(*this, context().savedSessions);
  else
    context().savedSessions.addToSavedSessions(*this);
  context().saver.removeFile(context().sessionFile);
  context().settings.savePersistentGlobalsToDisk();
  reportedAtEnd_ = true;
}

void TallixSession::finishSession() {
  fields_.endTime = now();
  TallixLog::debug("TallixSession: Finish session with endTime[%s]",
                   fields_.endTime->description().c_str());
  endTimedEvents();
  takeMeasurements(TallixSessionMeasurements::kEndPhase);
  context().settings.update(
      [](TallixSettings& settings) { settings.launchOptions = Value::Dictionary{}; });
}

bool TallixSession::reportsNow(bool enabledForThisEnding) const {
  return enabledForThisEnding && context().reporter.canSend();
}

TallixEventLog::Events TallixSession::takePendingEvents() {
  return eventLog_.takePending();
}

void TallixSession::adoptEvent(std::shared_ptr<TallixEvent> event) {
  event->setEventLogId(context().counters.nextCountFor(TallixAutoIncrement::EventLogId));
  if (fields_.startTime > event->started())
    fields_.startTime = event->started();
  eventLog_.put(std::move(event), eventLoggingEnabled_);
  saveToDisk();
}

void TallixSession::saveToDisk() {
  reportedAtEnd_ = false;
  context().saver.scheduleSave(shared_from_this(), context().sessionFile);
}

void TallixSession::takeMeasurements(int phase) {
  context().measurements.measure(phase, fields_.sessionParams);
}

void TallixSession::resetSessionData() {
  fields_.endTime.reset();
  fields_.totalPauseIntervalMillis = 0;
  fields_.sessionOriginName.reset();
  fields_.deepLinkName.reset();
  fields_.sessionParams.clear();
  fields_.sessionPropertyParams = Value::Dictionary{};
  eventLog_.clear();
  fields_.errors.clear();
  fields_.purchaseItems.clear();
  fields_.latitude = fields_.longitude = 0;
  fields_.crashed = false;
  fields_.gender = -1;
  fields_.age.reset();
  fields_.pageViewCount = 0;
  fields_.locale = context().measurements.locale();
  fields_.timeZone = context().measurements.timeZone();
  takeMeasurements(TallixSessionMeasurements::kStartPhase);
  saveToDisk();
}

void TallixSession::resetEventLogs() {
  fields_.sessionParams.clear();
  eventLog_.clear();
  fields_.errors.clear();
  fields_.totalErrorCount = 0;
  fields_.pageViewCount = 0;
  fields_.crashReportData.reset();
  takeMeasurements(TallixSessionMeasurements::kStartPhase);
  saveToDisk();
}

std::int64_t TallixSession::totalEventCount() const {
  return static_cast<std::int64_t>(fields_.errors.size()) + eventLog_.countedTotal();
}

std::int64_t TallixSession::timeIntervalSinceSessionStart(Date date) const {
  return timeIntervalFrom(fields_.startTime, date);
}

std::int64_t TallixSession::sessionLength() const {
  return timeIntervalFrom(fields_.startTime, fields_.endTime);
}

}  // namespace tallix
