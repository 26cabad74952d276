#pragma once

#include "foundation/Value.h"

namespace tallix {

// An event logged before any session existed; recorded, in order, when the first one starts.
struct TallixPreCacheEvent {
  foundation::Value eventName;
  foundation::Value params;
  bool timed = false;
};

}  // namespace tallix
