#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <ctime>

#include "FakeSystem.h"
#include "analytics/core/device/TallixDeviceMeasurements.h"

namespace tallix {
namespace {

// Real meminfo lists "Active(anon)" and the like after "Active"; here they come first, so that
// a reader matching on prefixes picks the wrong line.
constexpr const char* kMeminfo =
    "MemTotal: 16318916 kB\nActive(anon): 1000 kB\nInactive(anon): 2000 kB\n"
    "Active: 5000000 kB\nInactive: 3000000 kB\nUnevictable: 16 kB\n"
    "SUnreclaim: 200000 kB\nKernelStack: 20000 kB\nPageTables: 60000 kB\n";

utsname systemName() {
  utsname name{};
  ::uname(&name);
  return name;
}

// Level and charging, read from power-supply files given as "supply/file=line".
std::optional<std::pair<double, bool>> batteryOf(std::initializer_list<std::string> supplyFiles) {
  FakeSystem system;
  for (const std::string& file : supplyFiles) {
    const auto equals = file.find('=');
    system.write("/sys/class/power_supply/" + file.substr(0, equals),
                 file.substr(equals + 1) + "\n");
  }
  const auto battery = TallixDeviceMeasurements(system.root()).battery();
  return battery ? std::optional(std::pair(battery->level, battery->charging)) : std::nullopt;
}

TEST(TallixDeviceMeasurementsTest, ReadsMemoryLoadAndBootTimeOnlyFromCompleteFiles) {
  FakeSystem system;
  const TallixDeviceMeasurements measurements(system.root());
  EXPECT_FALSE(measurements.memory());
  EXPECT_FALSE(measurements.loadAverage());
  EXPECT_FALSE(measurements.bootTime());
  EXPECT_FALSE(TallixDeviceMeasurements::diskSpace(system.root() / "absent"));

  system.write("/proc/meminfo", "MemTotal: 1024 kB\nActive: 1 kB\nInactive: 1 kB\n");
  system.write("/proc/stat", "cpu  1 2 3 4\n");
  system.write("/proc/loadavg", "\n");
  EXPECT_FALSE(measurements.memory());
  EXPECT_FALSE(measurements.bootTime());
  EXPECT_FALSE(measurements.loadAverage());

  system.write("/proc/meminfo", kMeminfo);
  system.write("/proc/loadavg", "0.52 0.58 0.59 1/389 12345\n");
  system.write("/proc/stat", "cpu  1 2 3 4\nctxt 99\nbtime 1700000000\nprocesses 7\n");
  const auto memory = measurements.memory();
  ASSERT_TRUE(memory);
  EXPECT_EQ(memory->total, 16318916ull * 1024);
  EXPECT_EQ(memory->active, 5000000ull * 1024);
  EXPECT_EQ(memory->inactive, 3000000ull * 1024);
  EXPECT_EQ(memory->wired, (16ull + 200000 + 20000 + 60000) * 1024);
  EXPECT_DOUBLE_EQ(measurements.loadAverage().value_or(-1), 0.52);
  EXPECT_EQ(measurements.bootTime(), 1700000000);
}

TEST(TallixDeviceMeasurementsTest, ReadsTheSystemBatteryByCapacityOrByEnergy) {
  EXPECT_FALSE(batteryOf({}));
  // Mains and a mouse's battery are no system battery.
  EXPECT_FALSE(batteryOf({"AC/type=Mains", "hid-mouse/type=Battery", "hid-mouse/scope=Device",
                          "hid-mouse/capacity=40"}));
  EXPECT_EQ(batteryOf({"BAT0/type=Battery", "BAT0/capacity=57", "BAT0/status=Charging"}),
            std::pair(0.57, true));
  EXPECT_EQ(batteryOf({"AC/type=Mains", "BAT1/type=Battery", "BAT1/energy_now=30000000",
                       "BAT1/energy_full=40000000", "BAT1/status=Discharging"}),
            std::pair(0.75, false));
  // A full battery on mains power counts as charging.
  EXPECT_EQ(batteryOf({"BAT0/type=Battery", "BAT0/capacity=100", "BAT0/status=Full"}),
            std::pair(1.0, true));
}

TEST(TallixDeviceMeasurementsTest, LocaleIdentifierFollowsTheVariablesInOrder) {
  const auto localeWith = [](const char* lcAll, const char* lcMessages, const char* lang) {
    const ScopedVariable all("LC_ALL", lcAll), messages("LC_MESSAGES", lcMessages),
        language("LANG", lang);
    return TallixDeviceMeasurements::localeIdentifier();
  };
  EXPECT_EQ(localeWith(nullptr, nullptr, "de_DE.UTF-8"), "de_DE");
  EXPECT_EQ(localeWith(nullptr, "fr_FR@euro", "de_DE.UTF-8"), "fr_FR");
  EXPECT_EQ(localeWith("sr_RS.UTF-8@latin", "fr_FR", "de_DE"), "sr_RS");
  EXPECT_EQ(localeWith("", "", "pt_BR"), "pt_BR");  // empty counts as unset
  EXPECT_EQ(localeWith("C.UTF-8", nullptr, "de_DE"), "en_US_POSIX");
  EXPECT_EQ(localeWith(nullptr, nullptr, "POSIX"), "en_US_POSIX");
  EXPECT_EQ(localeWith(nullptr, nullptr, nullptr), "en_US_POSIX");
}

TEST(TallixDeviceMeasurementsTest, ZonePlatformAndVersionComeFromTheFirstSourceThatNamesThem) {
  FakeSystem system;
  const TallixDeviceMeasurements measurements(system.root());
  const auto zoneWithTz = [&](const char* tz) {
    const ScopedVariable variable("TZ", tz);
    return measurements.timeZoneName();
  };
  EXPECT_EQ(zoneWithTz(nullptr), "UTC");
  EXPECT_EQ(measurements.platformName(), systemName().machine);
  EXPECT_EQ(measurements.systemVersion(), systemName().release);

  system.write("/etc/timezone", "Asia/Tokyo\n");
  EXPECT_EQ(zoneWithTz(nullptr), "Asia/Tokyo");
  system.link("/etc/localtime", "../usr/share/zoneinfo/Europe/Berlin");
  EXPECT_EQ(zoneWithTz(nullptr), "Europe/Berlin");

  EXPECT_EQ(zoneWithTz(":America/New_York"), "America/New_York");
  EXPECT_EQ(zoneWithTz("/usr/share/zoneinfo/Australia/Sydney"), "Australia/Sydney");
  EXPECT_EQ(zoneWithTz(":/etc/localtime"), "Europe/Berlin");
  EXPECT_EQ(zoneWithTz(""), "UTC");

  system.write("/sys/class/dmi/id/sys_vendor", "To be filled by O.E.M.\n");
  system.write("/sys/class/dmi/id/product_name", "  B450M DS3H \n");
  EXPECT_EQ(measurements.platformName(), "B450M DS3H");
  system.write("/sys/class/dmi/id/sys_vendor", "LENOVO\n");
  EXPECT_EQ(measurements.platformName(), "LENOVO B450M DS3H");

  system.write("/etc/os-release", "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\nVERSION=\"12\"\n");
  EXPECT_EQ(measurements.systemVersion(), "12");
  system.write("/etc/os-release", "NAME=Fedora\nVERSION_ID=40\n");
  EXPECT_EQ(measurements.systemVersion(), "40");
}

TEST(TallixDeviceMeasurementsTest, RealMachineReadingsArePlausible) {
  const TallixDeviceMeasurements measurements;
  const auto memory = measurements.memory();
  ASSERT_TRUE(memory);
  EXPECT_LT(memory->wired + memory->active + memory->inactive, memory->total);
  EXPECT_GT(measurements.bootTime().value_or(0), 0);
  EXPECT_LT(measurements.bootTime().value_or(0), std::time(nullptr));
  EXPECT_GE(measurements.loadAverage().value_or(-1), 0);
  const auto disk = TallixDeviceMeasurements::diskSpace("/");
  ASSERT_TRUE(disk);
  EXPECT_GT(disk->total, 0u);
  EXPECT_LE(disk->free, disk->total);
  EXPECT_EQ(TallixDeviceMeasurements::architecture(), systemName().machine);
}

}  // namespace
}  // namespace tallix
