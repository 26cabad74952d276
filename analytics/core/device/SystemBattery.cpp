#include "analytics/core/device/SystemBattery.h"

#include <algorithm>
#include <string>

#include "analytics/core/device/TextFields.h"

namespace tallix {
namespace {

const std::filesystem::path kPowerSupplies = "/sys/class/power_supply";

double fraction(double part, double whole) {
  return std::clamp(part / whole, 0.0, 1.0);
}

}  // namespace

SystemBattery::SystemBattery(const DeviceFileTree& files) : files_(files) {}

std::optional<TallixBatteryState> SystemBattery::state() const {
  for (const auto& name : files_.entries(kPowerSupplies)) {
    const auto supply = kPowerSupplies / name;
    if (!isSystemBattery(supply))
      continue;
    if (const auto charge = level(supply))
      return TallixBatteryState{*charge, isCharging(supply)};
  }
  return std::nullopt;
}

bool SystemBattery::isSystemBattery(const std::filesystem::path& supply) const {
  return files_.firstLine(supply / "type") == "Battery" &&
         files_.firstLine(supply / "scope") != "Device";
}

// Most batteries give a percentage; some only their energy (µWh) or charge (µAh) counters.
std::optional<double> SystemBattery::level(const std::filesystem::path& supply) const {
  if (const auto percent = number(supply / "capacity"))
    return fraction(*percent, 100);
  for (const std::string counter : {"energy", "charge"}) {
    const auto now = number(supply / (counter + "_now"));
    const auto full = number(supply / (counter + "_full"));
    if (now && full && *full > 0)
      return fraction(*now, *full);
  }
  return std::nullopt;
}

// A full battery on mains power counts as charging, as a phone reports it.
bool SystemBattery::isCharging(const std::filesystem::path& supply) const {
  const auto status = files_.firstLine(supply / "status");
  return status == "Charging" || status == "Full";
}

std::optional<double> SystemBattery::number(const std::filesystem::path& file) const {
  const auto text = files_.firstLine(file);
  return text ? leadingNumber<double>(*text) : std::nullopt;
}

}  // namespace tallix
