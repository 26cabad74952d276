// Any file found where a crash report should be must be read without a crash, a leak or a
// hang: either refused with a reason, or read and formatted.
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/format/TallixCrashReportTextFormatter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string error;
  const auto report = tallix::TallixCrashReport::parse(std::span(data, size), error);
  if (!report) {
    if (error.empty())
      std::abort();
    return 0;
  }
  const std::string text = tallix::TallixCrashReportTextFormatter::format(*report);
  if (text.find("Binary images:") == std::string::npos)
    std::abort();
  return 0;
}
