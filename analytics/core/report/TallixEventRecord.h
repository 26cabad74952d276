#pragma once

#include "analytics/core/model/TallixEvent.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// An event as the report carries it: its times become offsets from the session's start, so
// the record does not depend on the device's clock beyond the session's own timestamp.
class TallixEventRecord {
 public:
  static void appendRelativeToSessionStart(const TallixEvent& event, foundation::Date sessionStart,
                                           foundation::Value::Bytes& data);
};

}  // namespace tallix
