#pragma once

#include <jansson.h>

#include <cstdint>
#include <span>

namespace tallix {

// A crash error's report bytes as readable JSON, read by the agent's own crash report reader:
// {"application", "live", "reportId", "signal", "exception", "crashedThread" with its frames,
// "threads" and "images" counts, "text" as tallix-crash-print shows it}, or {"error": reason}
// for bytes the reader refuses. Returns a new reference, never null.
class TallixCrashReportJson {
 public:
  static json_t* decode(std::span<const std::uint8_t> bytes);
};

}  // namespace tallix
