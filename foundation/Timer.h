#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "foundation/CallbackGate.h"
#include "foundation/DispatchQueue.h"

namespace foundation {

class WorkerPool;

// A one-shot or repeating timer firing on a queue. A repeating timer keeps a fixed rate and
// skips ticks it could not fire in time. invalidate() works from any thread: when it returns
// the callback is not running elsewhere and will not run again.
class Timer : public std::enable_shared_from_this<Timer> {
 public:
  using Callback = std::function<void(Timer&)>;
  using Interval = std::chrono::steady_clock::duration;

  // The caller owns the timer: it fires only while a reference to it is kept.
  [[nodiscard]] static std::shared_ptr<Timer> scheduled(DispatchQueue& queue, Interval interval,
                                                        bool repeats, Callback callback);
  ~Timer();

  void invalidate();
  bool isValid() const { return gate_.isOpen(); }
  Interval interval() const { return interval_; }

 private:
  Timer(DispatchQueue& queue, Interval interval, bool repeats, Callback callback);
  void scheduleAt(std::chrono::steady_clock::time_point due);
  void fire(std::chrono::steady_clock::time_point due);

  const std::weak_ptr<WorkerPool> queue_;
  const Interval interval_;
  const bool repeats_;
  Callback callback_;
  CallbackGate gate_;
};

}  // namespace foundation
