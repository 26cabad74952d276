#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "analytics/crash/format/TallixCrashReport.h"

namespace tallix {

// Where a frame's pc lies, in the terms people look up: the module and the offset into it, the
// function (demangled) and the offset into that.
struct TallixCrashReportLocation {
  std::optional<std::string> module;  // the image's file name, without its directory
  std::uint64_t moduleOffset = 0;
  std::optional<std::string> symbol;
  std::optional<std::uint64_t> symbolOffset;  // absent when the pc lies before the symbol

  static TallixCrashReportLocation of(const TallixCrashReport& report,
                                      const TallixCrashReportFrame& frame);
};

}  // namespace tallix
