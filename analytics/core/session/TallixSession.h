#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "analytics/core/ports/TallixAgentService.h"
#include "analytics/core/session/TallixEventLog.h"
#include "analytics/core/session/TallixSessionFields.h"
#include "foundation/Archivable.h"
#include "tallix/EventRecordResult.h"

namespace tallix {

struct TallixSessionContext;

// One session of the application's use: its events, errors and attributes, and its lifecycle
// of pauses, resumes and the end. Every operation runs on the agent queue; the session saves
// itself after each change so that a killed process loses nothing. At a pause or the end it
// asks the reporter to report it; the bytes of reports are the reporter's business.
class TallixSession : public foundation::Archivable,
                      public std::enable_shared_from_this<TallixSession> {
 public:
  static constexpr std::string_view kArchiveClassName = "TallixSession";
  static constexpr int kSerializationVersion = 7;

  // A fresh session: defaults, empty logs, the start measurements.
  static std::shared_ptr<TallixSession> initWithAPIKey(
      std::shared_ptr<const TallixSessionContext> context, std::string apiKey,
      std::string appVersion, foundation::Date startDate);
  // A session read back from its archive. It has no context: it can be reported, not run,
  // until it is given one.
  static std::shared_ptr<TallixSession> initWithCoder(foundation::KeyedUnarchiver& coder);
  // An extension's session outlives its process: the next one reads it back and runs it on.
  void setContext(std::shared_ptr<const TallixSessionContext> context) {
    context_ = std::move(context);
  }
  std::string_view archiveClassName() const override { return kArchiveClassName; }
  void encodeWithCoder(foundation::KeyedArchiver& coder) const override;

  // The id the facade reports: the start in milliseconds since 1970.
  static std::string sessionIdFor(foundation::Date startTime);

  const TallixSessionFields& fields() const { return fields_; }
  // For the report, which refreshes a few fields from the settings as it writes them, and for
  // an extension's session, which sets its thresholds once made.
  TallixSessionFields& mutableFields() { return fields_; }
  const TallixEventLog& eventLog() const { return eventLog_; }
  void publishEventLogTo(TallixEventLogGauge* gauge, std::uint64_t ticket) {
    eventLog_.publishTo(gauge, ticket);
  }

  EventRecordResult recordEvent(const foundation::Value& eventName,
                                const foundation::Value& parameters, bool timed);
  // Events of one name that only raise its count, as the log has no room for them; at once,
  // even while paused.
  void countEvents(const std::string& eventName, std::int64_t times);
  // Events refused before they reached the session.
  void markEventLogIncomplete();
  void endTimedEvent(const std::string& eventName, const foundation::Value& parameters);
  void endTimedEvents();

  // The exception as "name: reason", or nothing when there was none.
  void recordErrorWithException(const std::string& errorId, const std::string& message,
                                const std::optional<std::string>& exception,
                                std::optional<foundation::Value::Bytes> liveReport);
  void recordErrorWithError(const std::string& errorId, const std::string& message,
                            const std::error_code& error,
                            std::optional<foundation::Value::Bytes> liveReport);
  void recordError(const std::string& errorId, const std::string& message,
                   const std::string& exceptionString, int errorType,
                   std::optional<foundation::Value::Bytes> liveReport);
  void recordPurchaseItem(const foundation::Value& item);

  void setUserID(std::optional<std::string> userID);
  void setGenderAsString(const std::string& gender);
  void setAgeInYears(int years);
  void setLatitude(double latitude, double longitude, double horizontalAccuracy,
                   double verticalAccuracy);
  void maybeIncrementPageView();

  void setEventLoggingEnabled(bool enabled);
  void setSessionReportsOnCloseEnabled(bool enabled);
  void setSessionReportsOnPauseEnabled(bool enabled);
  void setCrashReportingEnabled(bool enabled);
  void setBackgroundSessionEnabled(bool enabled);
  bool sessionReportsOnPauseEnabled() const { return reportsOnPause_; }

  void pauseSession();
  void markSessionAsResuming();
  void resumeSession();
  // Before the next session starts: keeps this one's report and clears its file.
  void archiveSession();
  void endSession();
  void finishSession();
  bool isPaused() const { return fields_.pauseTime.has_value(); }
  TallixSessionSpan span() const;

  // Hands over the events still pending here, for the next session to adopt.
  TallixEventLog::Events takePendingEvents();
  // A pending event of the previous session: renumbered, logged, and the start moved back to
  // it when it is earlier.
  void adoptEvent(std::shared_ptr<TallixEvent> event);

  void saveToDisk();
  void resetSessionData();
  void resetEventLogs();

  std::int64_t totalEventCount() const;
  std::int64_t timeIntervalSinceSessionStart(foundation::Date date) const;
  std::int64_t sessionLength() const;

 private:
  TallixSession() = default;
  const TallixSessionContext& context() const;
  foundation::Date now() const;
  void takeMeasurements(int phase);
  // Whether the session goes to the reporter now rather than staying saved.
  bool reportsNow(bool enabledForThisEnding) const;

  std::shared_ptr<const TallixSessionContext> context_;
  TallixSessionFields fields_;
  TallixEventLog eventLog_;
  bool eventLoggingEnabled_ = true;
  bool reportsOnClose_ = true;
  bool reportsOnPause_ = false;
  bool crashReportingEnabled_ = false;
  // Ended, and its report sent or saved, with no change since: reporting it again at a pause
  // or when the next session starts would only duplicate it.
  bool reportedAtEnd_ = false;
};

}  // namespace tallix
