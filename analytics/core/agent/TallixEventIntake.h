#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "analytics/core/model/TallixPreCacheEvent.h"

namespace foundation {
class DispatchQueue;
}

namespace tallix {

// Carries logged events from the application's threads to the agent queue in batches: one
// queued task per batch rather than per event keeps logEvent to a short append, and the queue
// away from per-event wake-ups. The backlog is bounded, so an event whose logEvent returned is
// recorded, and saved, within a few milliseconds even when the caller logs faster than the
// queue can record: past the bound, the caller waits for the queue.
class TallixEventIntake {
 public:
  using Recorder = std::function<void(std::vector<TallixPreCacheEvent>&)>;
  static constexpr std::size_t kBacklogLimit = 8192;

  // The recorder runs on the queue, with each batch in the order it was logged.
  TallixEventIntake(foundation::DispatchQueue& queue, Recorder record);

  void push(TallixPreCacheEvent event);
  // Closes the open batch, so that events logged after work queued next are recorded after it.
  void seal();

 private:
  struct Batch {
    std::vector<TallixPreCacheEvent> events;
  };

  void drain(const std::shared_ptr<Batch>& batch);

  foundation::DispatchQueue& queue_;
  const Recorder record_;
  std::mutex mutex_;
  std::condition_variable drained_;
  std::shared_ptr<Batch> open_;
  std::size_t backlog_ = 0;
};

}  // namespace tallix
