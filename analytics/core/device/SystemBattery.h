#pragma once

#include <filesystem>
#include <optional>

#include "analytics/core/device/DeviceFileTree.h"

namespace tallix {

struct TallixBatteryState {
  double level = 0;  // remaining charge, 0..1
  bool charging = false;
};

// The machine's own battery among the power supplies in /sys/class/power_supply. Wireless mice
// and headsets list their batteries there too, with the scope "Device"; those are not ours.
class SystemBattery {
 public:
  explicit SystemBattery(const DeviceFileTree& files);

  // None on a machine without a battery, or when no battery tells its charge.
  std::optional<TallixBatteryState> state() const;

 private:
  bool isSystemBattery(const std::filesystem::path& supply) const;
  std::optional<double> level(const std::filesystem::path& supply) const;
  bool isCharging(const std::filesystem::path& supply) const;
  std::optional<double> number(const std::filesystem::path& file) const;

  const DeviceFileTree& files_;
};

}  // namespace tallix
