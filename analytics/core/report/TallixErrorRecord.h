#pragma once

#include "analytics/core/model/TallixError.h"
#include "foundation/Value.h"

namespace tallix {

// An error as the report carries it; the crash report, when there is one, travels inside it.
class TallixErrorRecord {
 public:
  static void appendToData(const TallixError& error, foundation::Value::Bytes& data);
};

}  // namespace tallix
