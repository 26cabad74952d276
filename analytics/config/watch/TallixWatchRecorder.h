#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "analytics/core/agent/TallixDeviceSessionMeasurements.h"
#include "analytics/core/agent/TallixUploadService.h"
#include "analytics/core/session/TallixSavedSessions.h"
#include "analytics/core/session/TallixSessionSaver.h"
#include "analytics/core/session/TallixWatchSession.h"
#include "foundation/CallbackGate.h"
#include "foundation/DispatchQueue.h"

namespace tallix {

class TallixSessionReporter;

// The extension's side of the agent: a serial queue of its own, "com.Tallix.WatchAnalytics.
// Session", an uploader whose set-up is that queue's first task, and the watch session, which
// only that queue touches. Callers on any thread only queue work.
class TallixWatchRecorder {
 public:
  using SessionWork = std::function<void(TallixWatchSession&)>;

  // The reporter is the agent's kind, handing its bodies to this recorder's own uploader.
  TallixWatchRecorder(const TallixAgentStart& start,
                      const std::function<std::shared_ptr<TallixSessionReporter>(
                          std::shared_ptr<TallixDataSending>)>& makeReporter);
  ~TallixWatchRecorder();
  TallixWatchRecorder(const TallixWatchRecorder&) = delete;
  TallixWatchRecorder& operator=(const TallixWatchRecorder&) = delete;

  void async(SessionWork work);
  // Waits until the work queued so far has run and the uploads it started are answered, at
  // most `timeout` in all. False when time ran out.
  bool waitUntilIdle(std::chrono::milliseconds timeout);

 private:
  TallixDataSender::Executor queueExecutor();

  // First: made before anything that may queue work, and drained by hand in the destructor
  // while everything its work uses still stands.
  std::unique_ptr<foundation::DispatchQueue> queue_;
  const std::shared_ptr<foundation::CallbackGate> executorGate_ =
      std::make_shared<foundation::CallbackGate>();
  TallixUploadService uploads_;
  std::shared_ptr<TallixSessionReporter> reporter_;
  TallixSavedSessions savedSessions_;
  TallixDeviceSessionMeasurements measurements_;
  TallixSessionSaver saver_;
  std::unique_ptr<TallixWatchSession> session_;  // the queue's own
};

}  // namespace tallix
