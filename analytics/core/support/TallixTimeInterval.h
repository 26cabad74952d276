#pragma once

#include <cmath>
#include <cstdint>
#include <optional>

#include "foundation/Date.h"

namespace tallix {

// Milliseconds from one date to another, truncated toward zero; 0 when either is unknown.
// Every duration and offset the agent records or reports is measured this way. Dates near
// today carry about 0.2 us of rounding noise, so the difference is first rounded to whole
// microseconds: 10.001 s must count as 10001 ms, not 10000.
inline std::int64_t timeIntervalFrom(std::optional<foundation::Date> from,
                                     std::optional<foundation::Date> to) {
  if (!from || !to)
    return 0;
  const std::int64_t microseconds = std::llround(to->timeIntervalSince(*from) * 1e6);
  return microseconds / 1000;
}

}  // namespace tallix
