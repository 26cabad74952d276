#pragma once

#include <optional>
#include <string>

#include "foundation/Value.h"

namespace tallix {

// The crash reporter as the session sees it: whether the last run left a crash report behind,
// and a report of the moment for logged errors.
class TallixCrashCapture {
 public:
  virtual ~TallixCrashCapture() = default;
  // Makes the reporter for the named application and enables it: an empty string on success,
  // else why it could not be. Called at most once per process.
  virtual std::string enable(const std::string& applicationIdentifier,
                             const std::string& applicationVersion) = 0;
  virtual bool hasPendingCrashReport() = 0;
  // The pending report's bytes; on failure nothing, with the reason in `error`.
  virtual std::optional<foundation::Value::Bytes> loadPendingCrashReportData(
      std::string& error) = 0;
  virtual void purgePendingCrashReport() = 0;
  virtual std::optional<foundation::Value::Bytes> generateLiveReport(std::string& error) = 0;
};

}  // namespace tallix
