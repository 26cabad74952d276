#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <regex>

#include "FakeSystem.h"
#include "analytics/core/device/TallixDeviceIdentifiers.h"

namespace tallix {
namespace {

constexpr const char* kMachineId = "5f3b2c8e9a1d4e7fb6c0a2d4e6f80913";
constexpr const char* kApplication = "org.orvane.Orvane";
// The first 16 bytes of `printf org.orvane.Orvane | openssl dgst -sha256 -mac HMAC
// -macopt hexkey:<kMachineId>`, with the version-4 and variant bits set.
constexpr const char* kVendorId = "23B8C1B2-F7A1-41B0-8AD0-FA18A4D4D637";

bool isUpperCaseUuid(const std::string& text) {
  static const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  return std::regex_match(text, uuid);
}

std::optional<std::string> vendorId(const FakeSystem& system, const char* application) {
  return TallixDeviceIdentifiers(system.root(), application, system.root()).identifierForVendor();
}

std::string tallixIdIn(const FakeSystem& agent) {
  return TallixDeviceIdentifiers(agent.root(), kApplication).tallixId();
}

TEST(TallixDeviceIdentifiersTest, VendorIdIsTheApplicationsHmacOfAUsableMachineId) {
  FakeSystem system, dbusOnly;
  EXPECT_FALSE(vendorId(system, kApplication));
  for (const char* odd : {"", "5f3b2c8e9a1d4e7fb6c0a2d4e6f8091", "5f3b2c8e9a1d4e7fb6c0a2d4e6f8091g",
                          "00000000000000000000000000000000", "+f3b2c8e9a1d4e7fb6c0a2d4e6f80913"}) {
    system.write("/etc/machine-id", odd);
    EXPECT_FALSE(vendorId(system, kApplication)) << odd;
  }
  system.write("/etc/machine-id", std::string(kMachineId) + "\n");
  EXPECT_EQ(vendorId(system, kApplication), kVendorId);
  EXPECT_NE(vendorId(system, "org.orvane.Other").value_or(kVendorId), kVendorId);

  dbusOnly.write("/var/lib/dbus/machine-id", "0123456789abcdef0123456789abcdef\n");
  const auto onDbus = vendorId(dbusOnly, kApplication);
  EXPECT_NE(onDbus.value_or(kVendorId), kVendorId);
  dbusOnly.write("/etc/machine-id", "uninitialized\n");  // systemd's first-boot placeholder
  EXPECT_EQ(vendorId(dbusOnly, kApplication), onDbus);
}

TEST(TallixDeviceIdentifiersTest, TallixIdIsKeptPrivatelyAndReplacedOnlyWhenDamaged) {
  FakeSystem agent, otherAgent;
  const std::string kept = tallixIdIn(agent);
  EXPECT_TRUE(isUpperCaseUuid(kept)) << kept;
  EXPECT_EQ(tallixIdIn(agent), kept);
  struct stat file {};
  ASSERT_EQ(::stat((agent.root() / "tallix-device-id").c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0600u);
  EXPECT_NE(tallixIdIn(otherAgent), kept);
  EXPECT_FALSE(TallixDeviceIdentifiers(agent.root(), kApplication).macUID());

  std::string lowerCase = kept;
  std::transform(lowerCase.begin(), lowerCase.end(), lowerCase.begin(), ::tolower);
  agent.write("/tallix-device-id", lowerCase);  // edited by hand, but still the same id
  EXPECT_EQ(tallixIdIn(agent), kept);

  for (const std::string& damage : {kept.substr(0, 20), kept + "\n", std::string("not an id")}) {
    agent.write("/tallix-device-id", damage);
    const std::string fresh = tallixIdIn(agent);
    EXPECT_TRUE(isUpperCaseUuid(fresh)) << damage;
    EXPECT_NE(fresh, kept) << damage;
    EXPECT_EQ(tallixIdIn(agent), fresh) << damage;
  }
}

}  // namespace
}  // namespace tallix
