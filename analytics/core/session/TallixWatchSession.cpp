#include "analytics/core/session/TallixWatchSession.h"

#include <filesystem>

#include "analytics/core/model/TallixAutoIncrement.h"
#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionContext.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/KeyedArchiver.h"
#include "foundation/KeyedUnarchiver.h"

namespace tallix {

using foundation::Value;

namespace {

constexpr std::int64_t kMillisPerMinute = 60 * 1000;

std::shared_ptr<TallixAutoIncrement> readCounters(const std::filesystem::path& path) {
  auto counters = foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixAutoIncrement>(path);
  return counters ? counters : std::make_shared<TallixAutoIncrement>();
}

}  // namespace

TallixWatchSession::TallixWatchSession(Parts parts)
    : counters_(readCounters(parts.paths.watchCounters())),
      context_(std::make_shared<const TallixSessionContext>(TallixSessionContext{
          parts.clock, parts.settings, *counters_, parts.paths, parts.savedSessions, parts.saver,
          parts.measurements, parts.reporter, parts.notificationCenter, nullptr, noServices_,
          parts.paths.watchSession()})) {}

TallixWatchSession::~TallixWatchSession() = default;

void TallixWatchSession::recordWatchEvent(const std::string& eventName, const Value& parameters) {
  record([&](TallixSession& session) { session.recordEvent(eventName, parameters, false); });
}

void TallixWatchSession::recordWatchError(const std::string& errorId, const std::string& message,
                                          const std::optional<std::string>& exception,
                                          std::optional<Value::Bytes> liveReport) {
  record([&](TallixSession& session) {
    session.recordErrorWithException(errorId, message, exception, std::move(liveReport));
  });
}

void TallixWatchSession::recordWatchError(const std::string& errorId, const std::string& message,
                                          const std::error_code& error,
                                          std::optional<Value::Bytes> liveReport) {
  record([&](TallixSession& session) {
    session.recordErrorWithError(errorId, message, error, std::move(liveReport));
  });
}

void TallixWatchSession::record(const std::function<void(TallixSession&)>& recording) {
  TallixSession& session = current();
  recording(session);
  if (session.totalEventCount() < session.fields().watchEventThreshold)
    archive();
  else
    send();
}

TallixSession& TallixWatchSession::current() {
  if (!session_)
    session_ = readBack();
  if (session_ && hasExpired(*session_))
    send();
  if (!session_)
    session_ = begin();
  return *session_;
}

std::shared_ptr<TallixSession> TallixWatchSession::readBack() {
  const auto& path = context_->sessionFile;
  if (!std::filesystem::exists(path))
    return nullptr;
  auto session = foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(path);
  if (!session) {
    TallixLog::debug("TallixSession: watch session at path[%s] unreadable, discarded",
                     path.c_str());
    return nullptr;
  }
  session->setContext(context_);
  applySettings(*session);
  return session;
}

std::shared_ptr<TallixSession> TallixWatchSession::begin() {
  const TallixSettings settings = context_->settings.settings();
  auto session = TallixSession::initWithAPIKey(context_, settings.apiKey, settings.appVersion,
                                               context_->clock.now());
  TallixSessionFields& fields = session->mutableFields();
  fields.watchAppVersion = settings.appVersion;
  fields.watchEventThreshold = kEventThreshold;
  fields.watchDurationThreshold = kDurationThresholdMinutes;
  applySettings(*session);
  return session;
}

void TallixWatchSession::applySettings(TallixSession& session) const {
  const TallixSettings settings = context_->settings.settings();
  session.setEventLoggingEnabled(settings.eventLoggingEnabled);
  session.setCrashReportingEnabled(settings.crashReportingEnabled);
}

bool TallixWatchSession::hasExpired(const TallixSession& session) const {
  const auto& fields = session.fields();
  return timeIntervalFrom(fields.startTime, context_->clock.now()) >
         std::int64_t{fields.watchDurationThreshold} * kMillisPerMinute;
}

void TallixWatchSession::archive() {
  context_->saver.flush();
  const auto path = context_->paths.watchCounters();
  if (!foundation::KeyedArchiver::archiveRootObject(*counters_, path))
    TallixLog::debug("TallixSession: watch counters not saved to disk at path[%s]", path.c_str());
}

void TallixWatchSession::send() {
  session_->finishSession();
  context_->reporter.sendSessionsToServerIncludingCurrentSession(*session_,
                                                                 context_->savedSessions);
  context_->saver.removeFile(context_->sessionFile);
  counters_->resetAll();
  std::error_code ignored;
  std::filesystem::remove(context_->paths.watchCounters(), ignored);
  session_.reset();
}

}  // namespace tallix
