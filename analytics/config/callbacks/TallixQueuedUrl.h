#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "foundation/Value.h"

namespace tallix {

// One partner callback on its way: the substituted URL, how to send it, and until when it is
// worth sending. Stored as a dictionary in the agent's persistent maps, which is also what the
// HTTP task carries as its parameters.
struct TallixQueuedUrl {
  // Three days after the latest send, the partner no longer wants to hear of the event.
  static constexpr std::int64_t kLifetimeSeconds = 259200;
  static constexpr std::int64_t kRepeatDuration = 30;

  std::string invokeURL;
  std::string method;
  std::string eventString;
  bool beingFired = true;
  std::int64_t repeatDuration = kRepeatDuration;
  // Whole seconds since 1970; 0 until the first send.
  std::int64_t expiration = 0;

  foundation::Value toValue() const;
  // Nothing for a dictionary without a URL; missing or odd numbers read as 0, as stored text
  // would.
  static std::optional<TallixQueuedUrl> fromValue(const foundation::Value& value);
};

}  // namespace tallix
