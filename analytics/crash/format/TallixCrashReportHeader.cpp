#include "analytics/crash/format/TallixCrashReportHeader.h"

#include <algorithm>
#include <string_view>

namespace tallix {

namespace {
constexpr std::string_view kMagic = "tlxcrsh";
constexpr std::uint8_t kHeader[TallixCrashReportHeader::kSize] = {
    't', 'l', 'x', 'c', 'r', 's', 'h', TallixCrashReportHeader::kVersion};
}  // namespace

const std::uint8_t* TallixCrashReportHeader::bytes() {
  return kHeader;
}

std::optional<TallixCrashReportHeader::Bytes> TallixCrashReportHeader::body(Bytes report,
                                                                            std::string& error) {
  if (report.empty()) {
    error = "empty report";
    return std::nullopt;
  }
  if (report.size() < kSize) {
    error = "too short for the header: " + std::to_string(report.size()) + " of " +
            std::to_string(kSize) + " bytes";
    return std::nullopt;
  }
  if (!std::equal(kMagic.begin(), kMagic.end(), report.begin())) {
    error = "not a crash report: no \"tlxcrsh\" header";
    return std::nullopt;
  }
  if (report[kMagic.size()] != kVersion) {
    error = "unsupported format version " + std::to_string(report[kMagic.size()]) +
            " (this reader knows version 1)";
    return std::nullopt;
  }
  return report.subspan(kSize);
}

}  // namespace tallix
