#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "analytics/core/model/TallixPreCacheEvent.h"
#include "analytics/core/session/TallixEventLogGauge.h"
#include "tallix/EventRecordResult.h"

namespace foundation {
class DispatchQueue;
}

namespace tallix {

// Design note. Carries logged events from the application's threads to the agent queue in
// batches: one queued task per batch keeps logEvent to a forecast and an append under a short
// lock, and the queue away from per-event wake-ups. The caller never waits for the queue, yet
// memory stays bounded, because the gauge decides each event's fate as it is logged:
//   - an event that will be logged (its slot reserved) is queued whole; at most as many as the
//     session's log has room for are ever queued;
//   - an event past the log's room only raises its name's count, so it is folded into the open
//     batch's per-name counts, at most one entry per name the session can count;
//   - an event whose new name the session must refuse is dropped, and only marks the log
//     incomplete, as the session would.
// The session counts a batch's events in any order to the same result (the names it takes are
// foreseen), so a batch hands over its whole events first, then its counts. Work queued behind
// the events (queueAfterLogged) closes the open batch, so later events follow that work.
class TallixEventIntake {
 public:
  struct Recorder {
    std::function<void(const TallixPreCacheEvent&)> record;
    std::function<void(const std::string& name, std::int64_t times)> count;
    std::function<void()> markIncomplete;
  };
  using Work = std::function<void()>;

  TallixEventIntake(foundation::DispatchQueue& queue, TallixEventLogGauge& gauge,
                    Recorder recorder);

  // Answers with the forecast; never waits for the queue.
  EventRecordResult push(TallixPreCacheEvent event);
  // Queues the work behind every event logged so far and ahead of any logged later.
  void queueAfterLogged(Work work);
  // The same for the setup of a new session, which gets the ticket its log publishes under.
  void queueNewSession(const std::vector<std::string>& preCachedNames,
                       std::function<void(std::uint64_t ticket)> setup);

 private:
  struct Batch {
    std::vector<std::pair<TallixPreCacheEvent, TallixEventLogGauge::Forecast>> events;
    std::unordered_map<std::string, std::int64_t> counted;
    bool refused = false;
  };

  Batch& openBatch();
  void drain(const std::shared_ptr<Batch>& batch);

  foundation::DispatchQueue& queue_;
  TallixEventLogGauge& gauge_;
  const Recorder recorder_;
  std::mutex mutex_;
  std::shared_ptr<Batch> open_;
};

}  // namespace tallix
