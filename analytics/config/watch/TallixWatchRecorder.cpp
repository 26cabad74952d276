#include "analytics/config/watch/TallixWatchRecorder.h"

#include <future>

#include "analytics/core/report/TallixSessionReporter.h"
#include "analytics/core/support/TallixExceptionHandler.h"

namespace tallix {

TallixWatchRecorder::TallixWatchRecorder(
    const TallixAgentStart& start,
    const std::function<std::shared_ptr<TallixSessionReporter>(std::shared_ptr<TallixDataSending>)>&
        makeReporter)
    : queue_(std::make_unique<foundation::DispatchQueue>("com.Tallix.WatchAnalytics.Session",
                                                         foundation::QualityOfService::Utility)),
      uploads_(queueExecutor(), start.storage, start.clock, start.notificationCenter,
               start.network),
      reporter_(makeReporter(uploads_.dataSender())),
      savedSessions_(TallixFilePaths(start.agentDirectory, start.apiKey).savedSessions(),
                     start.storage,
                     [reporter = reporter_.get()](TallixSession& session) {
                       return reporter->recordOf(session);
                     }),
      measurements_(start.agentDirectory),
      saver_(*queue_) {
  // The uploader's set-up goes first on the queue; the session reads its files after it.
  uploads_.agentDidStart(start);
  queue_->async(
      [this, parts = TallixWatchSession::Parts{
                 start.clock, start.storage, TallixFilePaths(start.agentDirectory, start.apiKey),
                 savedSessions_, saver_, measurements_, *reporter_, start.notificationCenter}] {
        TallixExceptionHandler::guarded(
            [&] { session_ = std::make_unique<TallixWatchSession>(parts); });
      });
}

TallixWatchRecorder::~TallixWatchRecorder() {
  executorGate_->close();
  queue_.reset();
}

TallixDataSender::Executor TallixWatchRecorder::queueExecutor() {
  return [gate = executorGate_, queue = queue_.get()](std::function<void()> work) {
    const foundation::CallbackGate::Pass pass(*gate);
    if (pass.admitted())
      queue->async(std::move(work));
  };
}

void TallixWatchRecorder::async(SessionWork work) {
  queue_->async([this, work = std::move(work)] {
    if (session_)
      TallixExceptionHandler::guarded([&] { work(*session_); });
  });
}

bool TallixWatchRecorder::waitUntilIdle(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  auto ran = std::make_shared<std::promise<void>>();
  auto done = ran->get_future();
  queue_->async([ran] { ran->set_value(); });
  if (done.wait_until(deadline) != std::future_status::ready)
    return false;
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
      deadline - std::chrono::steady_clock::now());
  return uploads_.waitUntilDelivered(std::max(left, std::chrono::milliseconds::zero()));
}

}  // namespace tallix
