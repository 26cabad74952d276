#pragma once

#include <filesystem>
#include <string>

namespace tallix::crash {

// The reporter's files: one folder per application in the user's cache directory, under a
// folder of the reporter's own, holding the pending crash report, the folder for queued
// reports, and while a crash is being written, the partial report.
class TallixCrashReportPaths {
 public:
  static constexpr const char* kReporterFolder = "com.tallix.crashreporter";
  static constexpr const char* kPendingReportName = "live_report.tlxcrsh";
  static constexpr const char* kLiveReportTemplate = "live_crash_report.XXXXXX";

  explicit TallixCrashReportPaths(const std::string& applicationIdentifier);

  const std::filesystem::path& directory() const { return directory_; }
  std::filesystem::path pendingReport() const { return directory_ / kPendingReportName; }
  std::filesystem::path partialReport() const { return directory_ / ".live_report.partial"; }
  std::filesystem::path queue() const { return directory_ / "queue"; }
  std::filesystem::path liveReportTemplate() const { return directory_ / kLiveReportTemplate; }

  // Creates the folders, private to the user. False when that fails.
  bool create() const;

 private:
  std::filesystem::path directory_;
};

}  // namespace tallix::crash
