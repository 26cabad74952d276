#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "analytics/crash/reporter/TallixCrashReportPaths.h"
#include "analytics/crash/reporter/TallixCrashReporterConfig.h"

namespace tallix::crash {

// Raised when a reporter cannot tell which application it reports for.
class TallixCrashReporterException : public std::runtime_error {
 public:
  static constexpr const char* kName = "CrashReporterException";
  using std::runtime_error::runtime_error;
};

// The in-process crash reporter. Enabled once per process, it catches fatal signals and leaves
// one report, "live_report.tlxcrsh", which the next launch loads and purges; meanwhile it can
// describe the running process on request (a live report). Failures come back as error texts,
// never as exceptions, except when the application cannot be named at all.
class TallixCrashReporter {
 public:
  using Bytes = std::vector<std::uint8_t>;

  explicit TallixCrashReporter(TallixCrashReporterConfig config);

  bool enableCrashReporter(std::string& error);
  bool hasPendingCrashReport() const;
  std::optional<Bytes> loadPendingCrashReportData(std::string& error) const;
  bool purgePendingCrashReport() const;
  std::optional<Bytes> generateLiveReport(std::string& error) const;

  const TallixCrashReportPaths& paths() const { return paths_; }
  const std::string& applicationIdentifier() const { return identifier_; }
  const std::string& applicationVersion() const { return version_; }

 private:
  std::string enable();

  TallixCrashReporterConfig config_;
  std::string identifier_;
  std::string version_;
  TallixCrashReportPaths paths_;
};

}  // namespace tallix::crash
