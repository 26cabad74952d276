#include "analytics/crash/format/TallixCrashReportLocation.h"

#include "analytics/crash/format/TallixCrashReportDemangler.h"

namespace tallix {

namespace {

std::string fileName(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

TallixCrashReportLocation TallixCrashReportLocation::of(const TallixCrashReport& report,
                                                        const TallixCrashReportFrame& frame) {
  TallixCrashReportLocation location;
  if (const TallixCrashReportImage* image = report.imageContaining(frame.pc)) {
    location.module = fileName(image->name);
    location.moduleOffset = frame.pc - image->base;
  }
  if (frame.symbol && !frame.symbol->name.empty()) {
    location.symbol = TallixCrashReportDemangler::demangle(frame.symbol->name);
    if (frame.pc >= frame.symbol->start)
      location.symbolOffset = frame.pc - frame.symbol->start;
  }
  return location;
}

}  // namespace tallix
