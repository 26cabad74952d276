#pragma once

#include <filesystem>

#include "analytics/core/device/TallixDeviceMeasurements.h"
#include "analytics/core/session/TallixSessionMeasurements.h"

namespace tallix {

// Sessions' device readings taken from this machine. Byte counts and seconds are written in
// plain decimal; a reading the machine cannot give is "-1", so the server can tell it apart
// from a zero.
class TallixDeviceSessionMeasurements : public TallixSessionMeasurements {
 public:
  // Disk figures are those of the file system holding the agent's files.
  explicit TallixDeviceSessionMeasurements(std::filesystem::path agentDirectory);

  void measure(int phase, TallixSessionFields::Strings& sessionParams) override;
  std::string locale() override { return TallixDeviceMeasurements::localeIdentifier(); }
  std::string timeZone() override { return device_.timeZoneName(); }

 private:
  void measureMemory(const char* suffix, TallixSessionFields::Strings& sessionParams) const;
  void measureLoadAndBattery(const char* suffix, TallixSessionFields::Strings& sessionParams) const;
  void measureDiskAndBoot(TallixSessionFields::Strings& sessionParams) const;

  const std::filesystem::path agentDirectory_;
  TallixDeviceMeasurements device_;
};

}  // namespace tallix
