#pragma once

#include <memory>
#include <mutex>

#include "analytics/core/ports/TallixCrashCapture.h"

namespace tallix::crash {
class TallixCrashReporter;
}

namespace tallix {

// The agent's crash port served by the in-process reporter: made and enabled at the first
// session start with POSIX signal handlers and every symbol source, then kept (also when
// enabling failed) for the pending report and live reports.
class TallixCrashReporterCapture : public TallixCrashCapture {
 public:
  TallixCrashReporterCapture();
  ~TallixCrashReporterCapture() override;

  std::string enable(const std::string& applicationIdentifier,
                     const std::string& applicationVersion) override;
  bool hasPendingCrashReport() override;
  std::optional<foundation::Value::Bytes> loadPendingCrashReportData(std::string& error) override;
  void purgePendingCrashReport() override;
  std::optional<foundation::Value::Bytes> generateLiveReport(std::string& error) override;

 private:
  std::shared_ptr<const crash::TallixCrashReporter> reporter() const;

  mutable std::mutex mutex_;
  std::shared_ptr<crash::TallixCrashReporter> reporter_;
};

}  // namespace tallix
