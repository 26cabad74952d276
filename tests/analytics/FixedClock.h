#pragma once

#include <atomic>

#include "analytics/core/support/TallixClock.h"

namespace tallix {

// 2026-11-23 09:00:00 UTC: a whole second, so offsets added in tests stay exact enough.
inline constexpr double kTestEpoch = 1795424400.0;

// A clock stopped at one moment, so bytes that carry the time can be written out by hand.
class FixedClock : public TallixClock {
 public:
  explicit FixedClock(foundation::Date moment) : moment_(moment) {}
  foundation::Date now() const override { return moment_; }

 private:
  foundation::Date moment_;
};

// A clock that moves only when a test moves it.
class ManualClock : public TallixClock {
 public:
  foundation::Date now() const override {
    return foundation::Date::fromTimeIntervalSince1970(seconds_.load());
  }
  void advance(double seconds) { seconds_ = seconds_.load() + seconds; }

 private:
  std::atomic<double> seconds_{kTestEpoch};
};

}  // namespace tallix
