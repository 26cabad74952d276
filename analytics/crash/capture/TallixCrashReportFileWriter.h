#pragma once

#include "crash_report.pb-c.h"

namespace tallix::crash {

// Writes the file header and the packed message to an open file, in chunks from a buffer on
// the stack: protobuf-c packs into our callback, so nothing is allocated.
class TallixCrashReportFileWriter {
 public:
  static bool write(int descriptor, const Tlxcrsh__CrashReport& report);
};

}  // namespace tallix::crash
