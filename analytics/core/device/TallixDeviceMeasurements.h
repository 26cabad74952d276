#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "analytics/core/device/DeviceFileTree.h"
#include "analytics/core/device/SystemBattery.h"

namespace tallix {

struct TallixMemoryUsage {
  std::uint64_t total = 0;
  std::uint64_t wired = 0;
  std::uint64_t active = 0;
  std::uint64_t inactive = 0;
};

struct TallixDiskSpace {
  std::uint64_t total = 0;
  std::uint64_t free = 0;  // what an unprivileged process may still fill
};

// What the session records about the machine at its start and end. /proc, /sys and /etc are
// read under the root directory; the environment and uname are the process's own. Nothing
// here throws, and a reading that cannot be taken is none (or a neutral default for names).
class TallixDeviceMeasurements {
 public:
  explicit TallixDeviceMeasurements(std::filesystem::path root = "/");

  // In bytes; none unless every figure it is made of is there.
  std::optional<TallixMemoryUsage> memory() const;
  // The 1-minute load average.
  std::optional<double> loadAverage() const;
  std::optional<TallixBatteryState> battery() const;
  // Of the filesystem holding this path, taken as it is (not under the root directory).
  static std::optional<TallixDiskSpace> diskSpace(const std::filesystem::path& path);
  // Seconds since 1970.
  std::optional<std::int64_t> bootTime() const;
  // Like "de_DE"; "en_US_POSIX" for the C locale.
  static std::string localeIdentifier();
  // An IANA name like "Europe/Berlin"; "UTC" when nothing says otherwise.
  std::string timeZoneName() const;
  // Maker and model, like "LENOVO 20XW0055GE"; else the machine type from uname.
  std::string platformName() const;
  // The distribution's version, like "12"; else the kernel release.
  std::string systemVersion() const;
  // The architecture this agent was built for, like "x86_64".
  static std::string_view architecture();

 private:
  std::optional<std::string> zoneOfFile(const std::filesystem::path& file) const;

  DeviceFileTree files_;
};

}  // namespace tallix
