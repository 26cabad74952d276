#include "analytics/core/agent/TallixImpl.h"

#include <future>
#include <utility>

#include "analytics/core/agent/TallixDeviceSessionMeasurements.h"
#include "analytics/core/model/TallixLimits.h"
#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/session/TallixSessionContext.h"
#include "analytics/core/session/TallixSessionFactory.h"
#include "analytics/core/support/TallixClock.h"
#include "analytics/core/support/TallixExceptionHandler.h"

namespace tallix {

using foundation::Date;
using foundation::Value;

// What exists once the API key is known: the files, the saved sessions and the context the
// sessions run in.
struct TallixImpl::KeyedParts {
  explicit KeyedParts(const std::filesystem::path& directory) : measurements(directory) {}

  TallixDeviceSessionMeasurements measurements;
  std::shared_ptr<TallixSessionReporter> reporter;
  std::unique_ptr<TallixSavedSessions> savedSessions;
  std::shared_ptr<const TallixSessionContext> context;
  std::unique_ptr<TallixSessionFactory> factory;
};

TallixImpl::TallixImpl(Parts parts) : parts_(std::move(parts)) {}

TallixImpl::~TallixImpl() {
  executorGate_->close();
  queue_.sync([this] { saver_.flush(); });
}

TallixImpl::Executor TallixImpl::queueExecutor() {
  return [gate = executorGate_, queue = &queue_](Work work) {
    const foundation::CallbackGate::Pass pass(*gate);
    if (pass.admitted())
      queue->async(std::move(work));
  };
}

TallixImpl::KeyedParts& TallixImpl::keyedParts(const std::string& apiKey,
                                               const std::filesystem::path& directory,
                                               std::shared_ptr<TallixSessionReporter> reporter) {
  if (keyed_)
    return *keyed_;
  const TallixFilePaths paths(directory, apiKey);
  keyed_ = std::make_unique<KeyedParts>(directory);
  keyed_->reporter = std::move(reporter);
  keyed_->savedSessions = std::make_unique<TallixSavedSessions>(
      paths.savedSessions(), parts_.settings,
      [reporter = keyed_->reporter.get()](TallixSession& session) {
        return reporter->recordOf(session);
      });
  keyed_->context = std::make_shared<const TallixSessionContext>(TallixSessionContext{
      parts_.clock, parts_.settings, counters_, paths, *keyed_->savedSessions, saver_,
      keyed_->measurements, *keyed_->reporter, parts_.notificationCenter, parts_.crashCapture});
  keyed_->factory = std::make_unique<TallixSessionFactory>(keyed_->context);
  return *keyed_;
}

Date TallixImpl::setupForApiKey(const std::string& apiKey,
                                const std::filesystem::path& agentDirectory,
                                std::shared_ptr<TallixSessionReporter> reporter) {
  const Date startTime = parts_.clock.now();
  // Events logged until the flag below flips are in the pre-cache, which the setup takes; later
  // ones are queued behind the setup.
  std::lock_guard lock(preCacheMutex_);
  intake_.seal();
  queue_.async([=, this, reporter = std::move(reporter)]() mutable {
    TallixExceptionHandler::guarded([&] {
      auto& factory = *keyedParts(apiKey, agentDirectory, std::move(reporter)).factory;
      counters_.resetAll();
      std::shared_ptr<TallixSession> next;
      if (session_) {
        session_->archiveSession();
        next = factory.sessionWithNewEventsWithApiKey(*session_, apiKey, startTime, takePreCache());
      } else {
        next = factory.sessionWithApiKey(apiKey, startTime, takePreCache());
      }
      installSession(std::move(next));
    });
  });
  hasSession_.store(true, std::memory_order_release);
  return startTime;
}

std::vector<TallixPreCacheEvent> TallixImpl::takePreCache() {
  std::lock_guard lock(preCacheMutex_);
  return std::exchange(logEventPreCache_, {});
}

void TallixImpl::installSession(std::shared_ptr<TallixSession> session) {
  if (session_)
    session_->publishEventLogTo(nullptr);
  session_ = std::move(session);
  session_->publishEventLogTo(&gauge_);
  std::lock_guard lock(sessionIdMutex_);
  sessionId_ = TallixSession::sessionIdFor(session_->fields().startTime);
}

void TallixImpl::recordLoggedEvents(std::vector<TallixPreCacheEvent>& events) {
  if (!session_)
    return;
  for (const auto& event : events) {
    TallixExceptionHandler::guarded(
        [&] { session_->recordEvent(event.eventName, event.params, event.timed); });
  }
}

std::string TallixImpl::sessionId() const {
  std::lock_guard lock(sessionIdMutex_);
  return sessionId_;
}

EventRecordResult TallixImpl::recordEvent(const Value& eventName, const Value& parameters,
                                          bool timed) {
  if (!hasSession()) {
    std::unique_lock lock(preCacheMutex_);
    if (!hasSession()) {
      logEventPreCache_.push_back(TallixPreCacheEvent{eventName, parameters, timed});
      return EventRecordResult::Deferred;
    }
  }
  EventRecordResult predicted = EventRecordResult::Recorded;
  if (gauge_.distinctNames.load(std::memory_order_relaxed) >= kMaxDistinctEventNames)
    predicted = EventRecordResult::NameLimitReached;
  else if (gauge_.loggedEvents.load(std::memory_order_relaxed) >= kMaxLoggedEvents)
    predicted = EventRecordResult::LogFullOrDisabled;
  intake_.push(TallixPreCacheEvent{eventName, parameters, timed});
  return predicted;
}

void TallixImpl::async(SessionWork work) {
  intake_.seal();
  queue_.async([this, work = std::move(work)] {
    if (session_)
      TallixExceptionHandler::guarded([&] { work(*session_); });
  });
}

bool TallixImpl::waitUntilIdle(std::chrono::milliseconds limit) {
  auto done = std::make_shared<std::promise<void>>();
  auto finished = done->get_future();
  intake_.seal();
  queue_.async([this, done] {
    saver_.flush();
    done->set_value();
  });
  return finished.wait_for(limit) == std::future_status::ready;
}

}  // namespace tallix
