#include "analytics/core/agent/TallixDeviceSessionMeasurements.h"

#include <optional>
#include <string>

#include "foundation/StringFormat.h"

namespace tallix {

using foundation::stringWithFormat;
using Strings = TallixSessionFields::Strings;

namespace {

constexpr const char* kUnknown = "-1";

template <typename Number>
std::string decimal(std::optional<Number> reading) {
  return reading ? std::to_string(*reading) : kUnknown;
}

std::string fraction(std::optional<double> reading) {
  return reading ? stringWithFormat("%.2f", *reading) : kUnknown;
}

}  // namespace

TallixDeviceSessionMeasurements::TallixDeviceSessionMeasurements(
    std::filesystem::path agentDirectory)
    : agentDirectory_(std::move(agentDirectory)) {}

void TallixDeviceSessionMeasurements::measure(int phase, Strings& sessionParams) {
  const char* suffix = phase == kStartPhase ? "start" : "end";
  measureMemory(suffix, sessionParams);
  measureLoadAndBattery(suffix, sessionParams);
  measureDiskAndBoot(sessionParams);
}

void TallixDeviceSessionMeasurements::measureMemory(const char* suffix,
                                                    Strings& sessionParams) const {
  const auto memory = device_.memory();
  const auto part = [&](std::uint64_t TallixMemoryUsage::*field) {
    return memory ? std::to_string((*memory).*field) : kUnknown;
  };
  sessionParams.insert_or_assign("memory.total", part(&TallixMemoryUsage::total));
  sessionParams.insert_or_assign(stringWithFormat("memory.used.wired.%s", suffix),
                                 part(&TallixMemoryUsage::wired));
  sessionParams.insert_or_assign(stringWithFormat("memory.used.active.%s", suffix),
                                 part(&TallixMemoryUsage::active));
  sessionParams.insert_or_assign(stringWithFormat("memory.used.inactive.%s", suffix),
                                 part(&TallixMemoryUsage::inactive));
}

void TallixDeviceSessionMeasurements::measureLoadAndBattery(const char* suffix,
                                                            Strings& sessionParams) const {
  const auto battery = device_.battery();
  sessionParams.insert_or_assign(stringWithFormat("cpu.load.%s", suffix),
                                 fraction(device_.loadAverage()));
  sessionParams.insert_or_assign(
      stringWithFormat("battery.remaining.%s", suffix),
      fraction(battery ? std::optional<double>(battery->level) : std::nullopt));
  sessionParams.insert_or_assign(stringWithFormat("battery.charging.%s", suffix),
                                 battery ? (battery->charging ? "1" : "0") : kUnknown);
}

void TallixDeviceSessionMeasurements::measureDiskAndBoot(Strings& sessionParams) const {
  const auto disk = TallixDeviceMeasurements::diskSpace(agentDirectory_);
  sessionParams.insert_or_assign(
      "disk.size.total", decimal(disk ? std::optional<std::uint64_t>(disk->total) : std::nullopt));
  sessionParams.insert_or_assign(
      "disk.size.used",
      decimal(disk ? std::optional<std::uint64_t>(disk->total - disk->free) : std::nullopt));
  sessionParams.insert_or_assign("boot.time", decimal(device_.bootTime()));
}

}  // namespace tallix
