#pragma once

#include "tools/tallix-collector/TallixByteReader.h"
#include "tools/tallix-collector/TallixJson.h"

namespace tallix {

// The entries of a session's logs: event records and error records (the crash error is an
// error record too).
class TallixLogRecordDecoder {
 public:
  static constexpr int kCrashErrorType = 3;

  static TallixJson event(TallixByteReader& reader);
  static TallixJson error(TallixByteReader& reader);
};

}  // namespace tallix
