#include "analytics/crash/agent/TallixCrashReporterCapture.h"

#include "analytics/crash/reporter/TallixCrashReporter.h"

namespace tallix {

using crash::TallixCrashReporter;
using crash::TallixCrashReporterConfig;

namespace {
constexpr const char* kNeverMade = "The crash reporter was never made";
}

TallixCrashReporterCapture::TallixCrashReporterCapture() = default;
TallixCrashReporterCapture::~TallixCrashReporterCapture() = default;

std::string TallixCrashReporterCapture::enable(const std::string& applicationIdentifier,
                                               const std::string& applicationVersion) {
  std::lock_guard lock(mutex_);
  if (!reporter_) {
    try {
      reporter_ = std::make_shared<TallixCrashReporter>(
          TallixCrashReporterConfig(crash::TallixCrashSignalHandlerType::kBsd,
                                    crash::kSymbolicationAll)
              .withApplication(applicationIdentifier, applicationVersion));
    } catch (const crash::TallixCrashReporterException& exception) {
      return std::string(crash::TallixCrashReporterException::kName) + ": " + exception.what();
    }
  }
  std::string error;
  reporter_->enableCrashReporter(error);
  return error;
}

std::shared_ptr<const TallixCrashReporter> TallixCrashReporterCapture::reporter() const {
  std::lock_guard lock(mutex_);
  return reporter_;
}

bool TallixCrashReporterCapture::hasPendingCrashReport() {
  const auto made = reporter();
  return made && made->hasPendingCrashReport();
}

std::optional<foundation::Value::Bytes> TallixCrashReporterCapture::loadPendingCrashReportData(
    std::string& error) {
  if (const auto made = reporter())
    return made->loadPendingCrashReportData(error);
  error = kNeverMade;
  return std::nullopt;
}

void TallixCrashReporterCapture::purgePendingCrashReport() {
  if (const auto made = reporter())
    made->purgePendingCrashReport();
}

std::optional<foundation::Value::Bytes> TallixCrashReporterCapture::generateLiveReport(
    std::string& error) {
  if (const auto made = reporter())
    return made->generateLiveReport(error);
  error = kNeverMade;
  return std::nullopt;
}

}  // namespace tallix
