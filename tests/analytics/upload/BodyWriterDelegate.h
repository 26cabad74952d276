#pragma once

#include "analytics/core/ports/TallixDataSending.h"
#include "analytics/core/report/TallixRequestBodyWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "tests/analytics/FixedClock.h"

namespace tallix {

// Writes the bodies the current session would write, over real session records.
class BodyWriterDelegate : public TallixDataSenderDelegate {
 public:
  static TallixDeviceDescription device() {
    TallixDeviceDescription device;
    device.tallixId = "7E57AB1E-0000-4000-8000-000000000001";
    return device;
  }

  explicit BodyWriterDelegate(TallixGlobalVariableStorage& settings)
      : tracked_(settings.persistentGlobalsMap()), writer_(settings, clock_, tracked_, device()) {}

  std::optional<Bytes> prepareForSendingSessions(const std::vector<Bytes>& records,
                                                 bool sentReportSuccessfully) override {
    return writer_.dataForSessions(records, clock_.now(), sentReportSuccessfully);
  }

 private:
  const FixedClock clock_{foundation::Date::fromTimeIntervalSince1970(1700000000)};
  TallixTrackedProperties tracked_;
  TallixRequestBodyWriter writer_;
};

}  // namespace tallix
