#pragma once

#include "foundation/Date.h"

namespace tallix {

// Where the agent reads the time. Sessions, pauses and timed events all measure against it, so
// tests can move time on instead of sleeping.
class TallixClock {
 public:
  virtual ~TallixClock() = default;
  virtual foundation::Date now() const = 0;
};

class TallixSystemClock : public TallixClock {
 public:
  foundation::Date now() const override { return foundation::Date::now(); }
};

}  // namespace tallix
