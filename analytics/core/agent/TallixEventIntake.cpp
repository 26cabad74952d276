#include "analytics/core/agent/TallixEventIntake.h"

#include "analytics/core/support/TallixExceptionHandler.h"
#include "foundation/DispatchQueue.h"

namespace tallix {

using Fate = TallixEventLogGauge::Fate;

TallixEventIntake::TallixEventIntake(foundation::DispatchQueue& queue, TallixEventLogGauge& gauge,
                                     Recorder recorder)
    : queue_(queue), gauge_(gauge), recorder_(std::move(recorder)) {}

EventRecordResult TallixEventIntake::push(TallixPreCacheEvent event) {
  const std::string& name = *event.eventName.string();
  std::lock_guard lock(mutex_);
  const auto forecast = gauge_.forecast(name);
  Batch& batch = openBatch();
  switch (forecast.fate) {
    case Fate::Logged:
      batch.events.emplace_back(std::move(event), forecast);
      break;
    case Fate::Counted:
      ++batch.counted[name];
      break;
    case Fate::Refused:
      batch.refused = true;
      break;
  }
  return forecast.result;
}

void TallixEventIntake::queueAfterLogged(Work work) {
  std::lock_guard lock(mutex_);
  open_.reset();
  queue_.async(std::move(work));
}

void TallixEventIntake::queueNewSession(const std::vector<std::string>& preCachedNames,
                                        std::function<void(std::uint64_t ticket)> setup) {
  std::lock_guard lock(mutex_);
  open_.reset();
  const std::uint64_t ticket = gauge_.expectNewSession(preCachedNames);
  queue_.async([ticket, setup = std::move(setup)] { setup(ticket); });
}

TallixEventIntake::Batch& TallixEventIntake::openBatch() {
  if (!open_) {
    open_ = std::make_shared<Batch>();
    queue_.async([this, batch = open_] { drain(batch); });
  }
  return *open_;
}

void TallixEventIntake::drain(const std::shared_ptr<Batch>& batch) {
  Batch taken;
  {
    std::lock_guard lock(mutex_);
    std::swap(taken, *batch);
    if (open_ == batch)
      open_.reset();
  }
  for (const auto& [event, forecast] : taken.events) {
    gauge_.beginPut(forecast);
    TallixExceptionHandler::guarded([&] { recorder_.record(event); });
    gauge_.endPut();
  }
  for (const auto& [name, times] : taken.counted)
    TallixExceptionHandler::guarded([&] { recorder_.count(name, times); });
  if (taken.refused)
    TallixExceptionHandler::guarded([&] { recorder_.markIncomplete(); });
}

}  // namespace tallix
