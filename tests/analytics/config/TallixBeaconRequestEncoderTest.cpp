#include <gtest/gtest.h>

#include "analytics/config/exchange/TallixBeaconRequestEncoder.h"

namespace tallix {
namespace {

using Bytes = foundation::Value::Bytes;

TallixBeaconRequestFields deviceWithoutIdsOrLocation() {
  TallixBeaconRequestFields fields;
  fields.projectKey = "k";
  fields.bundleId = "b";
  fields.appVersion = "1";
  fields.platformVersion = "17.1";
  fields.hwMachine = "iP";
  return fields;
}

Bytes concatenated(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts)
    all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The fields of deviceWithoutIdsOrLocation() up to and including the device tags.
Bytes headWith(std::string_view platformVersion) {
  return concatenated({{2, 'k', 2, 'b', 2, '1',  // project key, bundle id, app version
                        0xB6, 2,                 // sdk version 155
                        4,                       // platform 2
                        static_cast<std::uint8_t>(2 * platformVersion.size())},
                       Bytes(platformVersion.begin(), platformVersion.end()),
                       {1,                  // limit ad tracking
                        0, 4, 'i', 'P'}});  // IosTags, branch 0, with its hardware model
}

TEST(TallixBeaconRequestEncoderTest, WritesTheRequestByteForByteWithGeoAlwaysUnderBranchZero) {
  TallixBeaconRequestEncoder encoder;
  const auto bare = encoder.encode(deviceWithoutIdsOrLocation());
  ASSERT_TRUE(bare);
  // No ids: an empty array. No location: branch 0 and still three zero numbers.
  EXPECT_EQ(bare->body, concatenated({headWith("17.1"), {0}, {0}, Bytes(20, 0)}));
  EXPECT_EQ(bare->checksum, "-531443777");

  TallixBeaconRequestFields located = deviceWithoutIdsOrLocation();
  located.platformVersion = "17";
  located.tallixId = "T";
  located.identifierForVendor = "V";
  located.latitude = 1.5;
  located.longitude = -2.25;
  located.accuracy = 3.0f;
  const auto full = encoder.encode(located);
  ASSERT_TRUE(full);
  const Bytes ids = {4, 0x0E, 2, 'T', 0x0C, 2, 'V', 0};        // type 7 first, then type 6
  const Bytes geo = {0, 0, 0,    0,   0, 0, 0,    0xF8, 0x3F,  // branch 0, latitude 1.5
                     0, 0, 0,    0,   0, 0, 0x02, 0xC0,        // longitude -2.25
                     0, 0, 0x40, 0x40};                        // accuracy 3.0f
  EXPECT_EQ(full->body, concatenated({headWith("17"), ids, geo}));
  EXPECT_EQ(full->checksum, "1071405898");

  TallixBeaconRequestFields vendorOnly = deviceWithoutIdsOrLocation();
  vendorOnly.identifierForVendor = "V";
  const auto vendor = encoder.encode(vendorOnly);
  ASSERT_TRUE(vendor);
  EXPECT_EQ(vendor->body,
            concatenated({headWith("17.1"), {2, 0x0C, 2, 'V', 0}, {0}, Bytes(20, 0)}));
}

}  // namespace
}  // namespace tallix
