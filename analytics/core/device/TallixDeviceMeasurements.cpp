#include "analytics/core/device/TallixDeviceMeasurements.h"

#include <strings.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "analytics/core/device/TextFields.h"

namespace tallix {
namespace {

constexpr std::string_view kPosixLocale = "en_US_POSIX";
constexpr std::string_view kZoneinfo = "zoneinfo/";

// Firmware that nobody filled in reports these instead of a maker or model.
constexpr std::array<const char*, 7> kPlaceholderNames = {"To Be Filled By O.E.M.",
                                                          "System manufacturer",
                                                          "System Product Name",
                                                          "Default string",
                                                          "Not Specified",
                                                          "Not Applicable",
                                                          "O.E.M."};

std::optional<std::uint64_t> meminfoBytes(std::string_view meminfo, std::string_view key) {
  const auto value = fieldValue(meminfo, key, ':');
  const auto kibibytes = value ? leadingNumber<std::uint64_t>(*value) : std::nullopt;
  if (!kibibytes)
    return std::nullopt;
  return *kibibytes * 1024;
}

std::string localeIdentifierOf(std::string_view locale) {
  locale = locale.substr(0, locale.find_first_of(".@"));  // "de_DE.UTF-8@euro" → "de_DE"
  if (locale.empty() || locale == "C" || locale == "POSIX")
    return std::string(kPosixLocale);
  return std::string(locale);
}

std::optional<std::string> zoneAfterZoneinfo(const std::string& path) {
  const auto start = path.find(kZoneinfo);
  if (start == std::string::npos || start + kZoneinfo.size() == path.size())
    return std::nullopt;
  return path.substr(start + kZoneinfo.size());
}

bool isPlaceholder(const std::string& name) {
  return std::any_of(
      kPlaceholderNames.begin(), kPlaceholderNames.end(),
      [&](const char* placeholder) { return ::strcasecmp(name.c_str(), placeholder) == 0; });
}

utsname systemName() {
  utsname name{};
  ::uname(&name);
  return name;
}

}  // namespace

TallixDeviceMeasurements::TallixDeviceMeasurements(std::filesystem::path root)
    : files_(std::move(root)) {}

std::optional<TallixMemoryUsage> TallixDeviceMeasurements::memory() const {
  const auto meminfo = files_.read("/proc/meminfo");
  if (!meminfo)
    return std::nullopt;
  bool complete = true;
  const auto bytes = [&](std::string_view key) {
    const auto value = meminfoBytes(*meminfo, key);
    complete = complete && value;
    return value.value_or(0);
  };
  TallixMemoryUsage usage;
  usage.total = bytes("MemTotal");
  usage.active = bytes("Active");
  usage.inactive = bytes("Inactive");
  // Linux has no "wired" count. What comes closest is memory the kernel can neither page out
  // nor reclaim under pressure: locked pages, unreclaimable slab, kernel stacks, page tables.
  usage.wired =
      bytes("Unevictable") + bytes("SUnreclaim") + bytes("KernelStack") + bytes("PageTables");
  if (!complete)
    return std::nullopt;
  return usage;
}

std::optional<double> TallixDeviceMeasurements::loadAverage() const {
  const auto loadavg = files_.firstLine("/proc/loadavg");
  return loadavg ? leadingNumber<double>(*loadavg) : std::nullopt;
}

std::optional<TallixBatteryState> TallixDeviceMeasurements::battery() const {
  return SystemBattery(files_).state();
}

std::optional<TallixDiskSpace> TallixDeviceMeasurements::diskSpace(
    const std::filesystem::path& path) {
  struct statvfs filesystem {};
  if (::statvfs(path.c_str(), &filesystem) != 0)
    return std::nullopt;
  return TallixDiskSpace{std::uint64_t{filesystem.f_blocks} * filesystem.f_frsize,
                         std::uint64_t{filesystem.f_bavail} * filesystem.f_frsize};
}

std::optional<std::int64_t> TallixDeviceMeasurements::bootTime() const {
  const auto stat = files_.read("/proc/stat");
  const auto btime = stat ? fieldValue(*stat, "btime", ' ') : std::nullopt;
  return btime ? leadingNumber<std::int64_t>(*btime) : std::nullopt;
}

// The locale messages would be shown in, by the precedence the C library gives these variables.
std::string TallixDeviceMeasurements::localeIdentifier() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value)
      return localeIdentifierOf(value);
  }
  return std::string(kPosixLocale);
}

std::string TallixDeviceMeasurements::timeZoneName() const {
  if (const char* variable = std::getenv("TZ")) {
    std::string_view zone = variable;
    if (zone.starts_with(':'))
      zone.remove_prefix(1);
    if (zone.empty())
      return "UTC";  // what the C library makes of an empty TZ
    if (!zone.starts_with('/'))
      return std::string(zone);
    if (auto named = zoneOfFile(zone))
      return *named;
  }
  if (auto named = zoneOfFile("/etc/localtime"))
    return *named;
  return files_.firstLine("/etc/timezone").value_or("UTC");
}

// A zone file is named by its path below zoneinfo, or by that of the file it links to
// (/etc/localtime is such a link).
std::optional<std::string> TallixDeviceMeasurements::zoneOfFile(
    const std::filesystem::path& file) const {
  if (auto named = zoneAfterZoneinfo(file.string()))
    return named;
  const auto target = files_.linkTarget(file);
  return target ? zoneAfterZoneinfo(target->string()) : std::nullopt;
}

std::string TallixDeviceMeasurements::platformName() const {
  std::string name;
  for (const char* part : {"/sys/class/dmi/id/sys_vendor", "/sys/class/dmi/id/product_name"}) {
    const auto text = files_.firstLine(part);
    if (text && !isPlaceholder(*text))
      name += (name.empty() ? "" : " ") + *text;
  }
  return name.empty() ? systemName().machine : name;
}

// /usr/lib/os-release is where a distribution keeps it when /etc has no copy.
std::string TallixDeviceMeasurements::systemVersion() const {
  for (const char* file : {"/etc/os-release", "/usr/lib/os-release"}) {
    const auto osRelease = files_.read(file);
    const auto version = osRelease ? fieldValue(*osRelease, "VERSION_ID", '=') : std::nullopt;
    if (version && !unquoted(*version).empty())
      return std::string(unquoted(*version));
  }
  return systemName().release;
}

// Named as uname names them.
std::string_view TallixDeviceMeasurements::architecture() {
#if defined(__x86_64__)
  return "x86_64";
#elif defined(__i386__)
  return "i686";
#elif defined(__aarch64__)
  return "aarch64";
#elif defined(__arm__)
  return "armv7l";
#elif defined(__riscv) && __riscv_xlen == 64
  return "riscv64";
#elif defined(__powerpc64__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  return "ppc64le";
#elif defined(__s390x__)
  return "s390x";
#elif defined(__loongarch64)
  return "loongarch64";
#else
  return "unknown";
#endif
}

}  // namespace tallix
