#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "analytics/core/agent/TallixEventIntake.h"
#include "analytics/core/model/TallixAutoIncrement.h"
#include "analytics/core/model/TallixPreCacheEvent.h"
#include "analytics/core/ports/TallixPageViewCounter.h"
#include "analytics/core/session/TallixEventLog.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "foundation/CallbackGate.h"
#include "foundation/Date.h"
#include "foundation/DispatchQueue.h"
#include "tallix/EventRecordResult.h"

namespace foundation {
class NotificationCenter;
}

namespace tallix {

class TallixAgentService;
class TallixClock;
class TallixCrashCapture;
class TallixGlobalVariableStorage;
class TallixSession;
class TallixSessionFactory;
class TallixSessionReporter;
struct TallixSessionContext;

// The current session's proxy: every session operation goes onto the agent's serial queue,
// so callers on any thread never wait for the session or its files. Events logged before the
// first session are kept, up to what one session can log, and replayed into it.
class TallixImpl : public TallixPageViewCounter {
 public:
  using SessionWork = std::function<void(TallixSession&)>;
  using Work = std::function<void()>;
  using Executor = std::function<void(Work)>;

  struct Parts {
    const TallixClock& clock;
    TallixGlobalVariableStorage& settings;
    foundation::NotificationCenter& notificationCenter;
    const std::vector<std::shared_ptr<TallixAgentService>>& services;
  };

  explicit TallixImpl(Parts parts);
  ~TallixImpl() override;
  TallixImpl(const TallixImpl&) = delete;
  TallixImpl& operator=(const TallixImpl&) = delete;

  foundation::DispatchQueue& queue() { return queue_; }
  // Puts work on the queue from anywhere, for as long as this object stands; afterwards the
  // work is dropped. For callbacks that may outlive the agent, such as HTTP completions.
  Executor queueExecutor();

  // Starts a new current session now: the previous one, if any, is archived and hands over
  // the events it still holds. The first call's reporter reports every session of the run, and
  // its crash port (null when crash reporting was off at the start) serves them all.
  // Returns the new session's start.
  foundation::Date setupForApiKey(const std::string& apiKey,
                                  const std::filesystem::path& agentDirectory,
                                  std::shared_ptr<TallixSessionReporter> reporter,
                                  std::shared_ptr<TallixCrashCapture> crashCapture);

  bool hasSession() const { return hasSession_.load(std::memory_order_acquire); }
  // The current session's id, or "" before the first.
  std::string sessionId() const;

  // Answers at once with the predicted result; records on the queue, or keeps the event for
  // the first session.
  EventRecordResult recordEvent(const foundation::Value& eventName,
                                const foundation::Value& parameters, bool timed);
  // Runs the work on the queue against the current session; nothing before the first.
  void async(SessionWork work);
  void maybeIncrementPageView() override;
  // Waits, at most the limit, for the queue to run what it has and the session to be on disk.
  bool waitUntilIdle(std::chrono::milliseconds limit);

 private:
  struct KeyedParts;

  void installSession(std::shared_ptr<TallixSession> session, std::uint64_t ticket);
  TallixEventIntake::Recorder sessionRecorder();
  std::vector<TallixPreCacheEvent> takePreCache();
  void preCache(TallixPreCacheEvent event);
  KeyedParts& keyedParts(const std::string& apiKey, const std::filesystem::path& directory,
                         std::shared_ptr<TallixSessionReporter> reporter,
                         std::shared_ptr<TallixCrashCapture> crashCapture);

  Parts parts_;
  const std::shared_ptr<foundation::CallbackGate> executorGate_ =
      std::make_shared<foundation::CallbackGate>();
  TallixAutoIncrement counters_;
  std::unique_ptr<KeyedParts> keyed_;
  std::shared_ptr<TallixSession> session_;  // the queue's own
  TallixEventLogGauge gauge_;
  mutable std::mutex sessionIdMutex_;
  std::string sessionId_;
  std::atomic<bool> hasSession_{false};
  std::mutex preCacheMutex_;
  std::vector<TallixPreCacheEvent> logEventPreCache_;
  TallixSessionSaver saver_{queue_};
  TallixEventIntake intake_{queue_, gauge_, sessionRecorder()};
  // Declared last: destroyed first, running what is queued while everything it uses stands.
  foundation::DispatchQueue queue_{"com.Tallix.Analytics.Session",
                                   foundation::QualityOfService::Utility};
};

}  // namespace tallix
