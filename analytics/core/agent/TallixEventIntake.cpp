#include "analytics/core/agent/TallixEventIntake.h"

#include "analytics/core/support/TallixExceptionHandler.h"
#include "foundation/DispatchQueue.h"

namespace tallix {

TallixEventIntake::TallixEventIntake(foundation::DispatchQueue& queue, Recorder record)
    : queue_(queue), record_(std::move(record)) {}

void TallixEventIntake::push(TallixPreCacheEvent event) {
  std::unique_lock lock(mutex_);
  // An observer on the queue itself logging would wait for itself.
  if (!queue_.isCurrent())
    drained_.wait(lock, [this] { return backlog_ < kBacklogLimit; });
  if (!open_) {
    open_ = std::make_shared<Batch>();
    queue_.async([this, batch = open_] { drain(batch); });
  }
  open_->events.push_back(std::move(event));
  ++backlog_;
}

void TallixEventIntake::seal() {
  std::lock_guard lock(mutex_);
  open_.reset();
}

void TallixEventIntake::drain(const std::shared_ptr<Batch>& batch) {
  std::vector<TallixPreCacheEvent> events;
  {
    std::lock_guard lock(mutex_);
    events.swap(batch->events);
    if (open_ == batch)
      open_.reset();
  }
  TallixExceptionHandler::guarded([&] { record_(events); });
  {
    std::lock_guard lock(mutex_);
    backlog_ -= events.size();
  }
  drained_.notify_all();
}

}  // namespace tallix
