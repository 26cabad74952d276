#pragma once

#include "analytics/core/support/TallixClock.h"

namespace tallix {

// A clock stopped at one moment, so bytes that carry the time can be written out by hand.
class FixedClock : public TallixClock {
 public:
  explicit FixedClock(foundation::Date moment) : moment_(moment) {}
  foundation::Date now() const override { return moment_; }

 private:
  foundation::Date moment_;
};

}  // namespace tallix
