#include "foundation/Timer.h"

#include <algorithm>

#include "foundation/WorkerPool.h"

namespace foundation {

using Clock = std::chrono::steady_clock;

std::shared_ptr<Timer> Timer::scheduled(DispatchQueue& queue, Interval interval, bool repeats,
                                        Callback callback) {
  std::shared_ptr<Timer> timer(new Timer(queue, interval, repeats, std::move(callback)));
  timer->scheduleAt(Clock::now() + interval);
  return timer;
}

Timer::Timer(DispatchQueue& queue, Interval interval, bool repeats, Callback callback)
    : queue_(queue.pool()),
      // A zero interval would make a repeating timer spin; a millisecond is the floor.
      interval_(std::max<Interval>(interval, std::chrono::milliseconds(repeats ? 1 : 0))),
      repeats_(repeats),
      callback_(std::move(callback)) {}

Timer::~Timer() {
  gate_.close();
}

void Timer::invalidate() {
  gate_.close();
}

void Timer::scheduleAt(Clock::time_point due) {
  const auto pool = queue_.lock();
  if (!pool)
    return;
  // The queue holds the timer only weakly: dropping the last outside reference ends it.
  pool->enqueueAfter(due - Clock::now(), [weakSelf = weak_from_this(), due] {
    if (const auto self = weakSelf.lock())
      self->fire(due);
  });
}

void Timer::fire(Clock::time_point due) {
  {
    CallbackGate::Pass pass(gate_);
    if (!pass.admitted())
      return;
    callback_(*this);
  }
  if (!repeats_ || !isValid())
    return;
  const auto now = Clock::now();
  auto next = due + interval_;
  if (next <= now)
    next += ((now - next) / interval_ + 1) * interval_;
  scheduleAt(next);
}

}  // namespace foundation
