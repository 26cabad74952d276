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

bool isUpperCaseUuid(const std::string& text) {
  static const std::regex uuid("[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}");
  return std::regex_match(text, uuid);
}

mode_t permissions(const std::filesystem::path& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 ? info.st_mode & 0777 : 0;
}

std::optional<std::string> vendorId(const FakeSystem& system, const char* application) {
  return TallixDeviceIdentifiers(system.root(), application, system.root()).identifierForVendor();
}

TEST(TallixDeviceIdentifiersTest, VendorIdIsTheApplicationsHmacOfTheMachineId) {
  FakeSystem system;
  system.write("/etc/machine-id", std::string(kMachineId) + "\n");
  // The first 16 bytes of `printf org.orvane.Orvane | openssl dgst -sha256 -mac HMAC
  // -macopt hexkey:<machine id>`, with the version-4 and variant bits set.
  EXPECT_EQ(vendorId(system, kApplication), "23B8C1B2-F7A1-41B0-8AD0-FA18A4D4D637");

  const TallixDeviceIdentifiers identifiers(system.root(), kApplication, system.root());
  EXPECT_EQ(identifiers.identifierForVendor(), identifiers.identifierForVendor());
  const auto other = vendorId(system, "org.orvane.Other");
  ASSERT_TRUE(other);
  EXPECT_TRUE(isUpperCaseUuid(*other));
  EXPECT_NE(other, vendorId(system, kApplication));
}

TEST(TallixDeviceIdentifiersTest, VendorIdDiffersBetweenMachinesAndFallsBackToDbus) {
  FakeSystem first, second;
  first.write("/etc/machine-id", kMachineId);
  second.write("/var/lib/dbus/machine-id", "0123456789abcdef0123456789abcdef\n");
  const auto onFirst = vendorId(first, kApplication), onSecond = vendorId(second, kApplication);
  ASSERT_TRUE(onFirst && onSecond);
  EXPECT_NE(onFirst, onSecond);

  second.write("/etc/machine-id", "uninitialized\n");  // systemd's first-boot placeholder
  EXPECT_EQ(vendorId(second, kApplication), onSecond);
}

TEST(TallixDeviceIdentifiersTest, NoVendorIdWithoutAUsableMachineId) {
  FakeSystem system;
  EXPECT_FALSE(vendorId(system, kApplication));
  for (const char* odd : {"", "5f3b2c8e9a1d4e7fb6c0a2d4e6f8091", "5f3b2c8e9a1d4e7fb6c0a2d4e6f8091g",
                          "00000000000000000000000000000000", "+f3b2c8e9a1d4e7fb6c0a2d4e6f80913"}) {
    system.write("/etc/machine-id", odd);
    EXPECT_FALSE(vendorId(system, kApplication)) << odd;
  }
}

TEST(TallixDeviceIdentifiersTest, TallixIdIsKeptPrivatelyAcrossRuns) {
  FakeSystem agent, otherAgent;
  TallixDeviceIdentifiers first(agent.root(), kApplication, agent.root());
  const std::string id = first.tallixId();
  EXPECT_TRUE(isUpperCaseUuid(id)) << id;
  EXPECT_EQ(first.tallixId(), id);
  EXPECT_EQ(TallixDeviceIdentifiers(agent.root(), kApplication).tallixId(), id);
  EXPECT_EQ(permissions(agent.root() / "tallix-device-id"), 0600u);
  EXPECT_NE(TallixDeviceIdentifiers(otherAgent.root(), kApplication).tallixId(), id);
  EXPECT_FALSE(first.macUID());
}

TEST(TallixDeviceIdentifiersTest, DamagedTallixIdFileIsReplacedButSpellingIsForgiven) {
  FakeSystem agent;
  const std::string kept = TallixDeviceIdentifiers(agent.root(), kApplication).tallixId();
  for (const std::string& damage : {kept.substr(0, 20), kept + "\n", std::string("not an id")}) {
    agent.write("/tallix-device-id", damage);
    const std::string fresh = TallixDeviceIdentifiers(agent.root(), kApplication).tallixId();
    EXPECT_TRUE(isUpperCaseUuid(fresh)) << damage;
    EXPECT_NE(fresh, kept) << damage;
    EXPECT_EQ(TallixDeviceIdentifiers(agent.root(), kApplication).tallixId(), fresh) << damage;
  }

  const std::string fresh = TallixDeviceIdentifiers(agent.root(), kApplication).tallixId();
  std::string lowerCase = fresh;
  std::transform(lowerCase.begin(), lowerCase.end(), lowerCase.begin(), ::tolower);
  agent.write("/tallix-device-id", lowerCase);  // edited by hand, but still the same id
  EXPECT_EQ(TallixDeviceIdentifiers(agent.root(), kApplication).tallixId(), fresh);
}

}  // namespace
}  // namespace tallix
