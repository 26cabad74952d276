#pragma once

#include <string>

#include "analytics/core/session/TallixSessionFields.h"

namespace tallix {

// The device readings a session keeps: phase 0 when it starts, phase 1 when it finishes.
class TallixSessionMeasurements {
 public:
  static constexpr int kStartPhase = 0;
  static constexpr int kEndPhase = 1;

  virtual ~TallixSessionMeasurements() = default;
  virtual void measure(int phase, TallixSessionFields::Strings& sessionParams) = 0;
  virtual std::string locale() = 0;
  virtual std::string timeZone() = 0;
};

}  // namespace tallix
