#include <gtest/gtest.h>

#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixPersistentMap.h"

namespace tallix {
namespace {

class TrackedPropertiesTest : public ::testing::Test {
 protected:
  TallixPersistentMap globals_{"persistentGlobalsMap"};
  TallixTrackedProperties tracked_{globals_};
};

TEST_F(TrackedPropertiesTest, TrackedValueCountsAsChangedOnlyWhenItDiffersFromTheLastReport) {
  EXPECT_TRUE(tracked_.updateIfTrackedAndChangedPropertyValue("en_GB", "device.locale"));
  EXPECT_FALSE(tracked_.updateIfTrackedAndChangedPropertyValue("en_GB", "device.locale"));
  EXPECT_TRUE(tracked_.updateIfTrackedAndChangedPropertyValue("fr_FR", "device.locale"));
  EXPECT_FALSE(tracked_.updateIfTrackedAndChangedPropertyValue("fr_FR", "device.locale"));
  // Each key keeps its own last value.
  EXPECT_TRUE(tracked_.updateIfTrackedAndChangedPropertyValue("fr_FR", "default.timezone"));
}

TEST_F(TrackedPropertiesTest, LastReportedValuesLiveInThePersistentGlobals) {
  tracked_.updateIfTrackedAndChangedPropertyValue("1920", "scr.width");
  EXPECT_EQ(globals_.valueForKey("tracked.scr.width"), foundation::Value("1920"));
  // A later process reads the same map back: nothing changed for it.
  TallixTrackedProperties afterRestart(globals_);
  EXPECT_FALSE(afterRestart.updateIfTrackedAndChangedPropertyValue("1920", "scr.width"));
}

TEST_F(TrackedPropertiesTest, OnlyDeviceDescriptionKeysAreTrackedOthersNeverChangeNorAreKept) {
  for (const char* key : {"device.locale", "default.timezone", "device.model.1",
                          "device.os.version", "device.arch", "scr.width", "scr.height"}) {
    EXPECT_TRUE(TallixTrackedProperties::isTracked(key)) << key;
  }
  EXPECT_FALSE(TallixTrackedProperties::isTracked("tracked.scr.width"));
  EXPECT_FALSE(tracked_.updateIfTrackedAndChangedPropertyValue("12", "cpu.load.start"));
  EXPECT_FALSE(tracked_.updateIfTrackedAndChangedPropertyValue("13", "cpu.load.start"));
  EXPECT_TRUE(globals_.entries().empty());
}

}  // namespace
}  // namespace tallix
