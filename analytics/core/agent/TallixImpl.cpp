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
#include "analytics/core/support/TallixLog.h"

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
                                               std::shared_ptr<TallixSessionReporter> reporter,
                                               std::shared_ptr<TallixCrashCapture> crashCapture) {
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
  keyed_->context = std::make_shared<const TallixSessionContext>(
      TallixSessionContext{parts_.clock, parts_.settings, counters_, paths, *keyed_->savedSessions,
                           saver_, keyed_->measurements, *keyed_->reporter,
                           parts_.notificationCenter, std::move(crashCapture), parts_.services});
  keyed_->factory = std::make_unique<TallixSessionFactory>(keyed_->context);
  return *keyed_;
}

Date TallixImpl::setupForApiKey(const std::string& apiKey,
                                const std::filesystem::path& agentDirectory,
                                std::shared_ptr<TallixSessionReporter> reporter,
                                std::shared_ptr<TallixCrashCapture> crashCapture) {
  const Date startTime = parts_.clock.now();
  // Events logged until the flag below flips are in the pre-cache, which the setup takes; later
  // ones are queued behind the setup.
  std::lock_guard lock(preCacheMutex_);
  std::vector<std::string> preCachedNames;
  for (const auto& event : logEventPreCache_)
    preCachedNames.push_back(*event.eventName.string());
  intake_.queueNewSession(preCachedNames, [=, this, reporter = std::move(reporter),
                                           crashCapture = std::move(crashCapture)](
                                              std::uint64_t ticket) mutable {
    TallixExceptionHandler::guarded([&] {
      auto& factory =
          *keyedParts(apiKey, agentDirectory, std::move(reporter), std::move(crashCapture)).factory;
      counters_.resetAll();
      std::shared_ptr<TallixSession> next;
      if (session_) {
        session_->archiveSession();
        next = factory.sessionWithNewEventsWithApiKey(*session_, apiKey, startTime, takePreCache());
      } else {
        next = factory.sessionWithApiKey(apiKey, startTime, takePreCache());
      }
      installSession(std::move(next), ticket);
    });
  });
  hasSession_.store(true, std::memory_order_release);
  return startTime;
}

std::vector<TallixPreCacheEvent> TallixImpl::takePreCache() {
  std::lock_guard lock(preCacheMutex_);
  return std::exchange(logEventPreCache_, {});
}

void TallixImpl::installSession(std::shared_ptr<TallixSession> session, std::uint64_t ticket) {
  if (session_)
    session_->publishEventLogTo(nullptr, 0);
  session_ = std::move(session);
  session_->publishEventLogTo(&gauge_, ticket);
  std::lock_guard lock(sessionIdMutex_);
  sessionId_ = TallixSession::sessionIdFor(session_->fields().startTime);
}

TallixEventIntake::Recorder TallixImpl::sessionRecorder() {
  return {
      [this](const TallixPreCacheEvent& event) {
        if (session_)
          session_->recordEvent(event.eventName, event.params, event.timed);
      },
      [this](const std::string& name, std::int64_t times) {
        if (session_)
          session_->countEvents(name, times);
      },
      [this] {
        if (session_)
          session_->markEventLogIncomplete();
      },
  };
}

std::string TallixImpl::sessionId() const {
  std::lock_guard lock(sessionIdMutex_);
  return sessionId_;
}

EventRecordResult TallixImpl::recordEvent(const Value& eventName, const Value& parameters,
                                          bool timed) {
  const std::string* name = eventName.string();
  if (!name || name->empty())
    return EventRecordResult::Invalid;
  if (parameters.dictionary() && parameters.dictionary()->size() > kMaxParametersPerEvent)
    return EventRecordResult::TooManyParameters;
  if (!hasSession()) {
    std::unique_lock lock(preCacheMutex_);
    if (!hasSession()) {
      preCache(TallixPreCacheEvent{eventName, parameters, timed});
      return EventRecordResult::Deferred;
    }
  }
  return intake_.push(TallixPreCacheEvent{eventName, parameters, timed});
}

// One session logs at most kMaxLoggedEvents events; the pre-cache keeps as many, so the first
// session logs all it could have, and an application that logs long before it starts the agent
// does not grow it without end.
void TallixImpl::preCache(TallixPreCacheEvent event) {
  if (logEventPreCache_.size() >= kMaxLoggedEvents) {
    TallixLog::debug("Tallix: pre-cache full, event [%s] dropped",
                     event.eventName.string()->c_str());
    return;
  }
  logEventPreCache_.push_back(std::move(event));
}

void TallixImpl::async(SessionWork work) {
  intake_.queueAfterLogged([this, work = std::move(work)] {
    if (session_)
      TallixExceptionHandler::guarded([&] { work(*session_); });
  });
}

void TallixImpl::maybeIncrementPageView() {
  async([](TallixSession& session) { session.maybeIncrementPageView(); });
}

bool TallixImpl::waitUntilIdle(std::chrono::milliseconds limit) {
  auto done = std::make_shared<std::promise<void>>();
  auto finished = done->get_future();
  intake_.queueAfterLogged([this, done] {
    saver_.flush();
    done->set_value();
  });
  return finished.wait_for(limit) == std::future_status::ready;
}

}  // namespace tallix
