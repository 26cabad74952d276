#pragma once

#include "tallix/TallixValue.h"

namespace tallix {

// Told of every new session, with its "apiKey" and "sessionId".
class TallixDelegate {
 public:
  virtual ~TallixDelegate() = default;
  virtual void tallixSessionDidCreateWithInfo(const TallixValue::Dictionary& info) = 0;
};

}  // namespace tallix
