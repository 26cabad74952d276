#include <gtest/gtest.h>

#include "analytics/core/report/TallixRequestBodyWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "analytics/core/support/TallixClock.h"
#include "tests/tools/JsonPath.h"
#include "tools/tallix-collector/TallixReportReader.h"

namespace tallix {
namespace {

using foundation::Value;

// The agent's own writer and the collector's reader were written apart from each other; what
// one writes the other must read back, field for field.
TEST(AgentBodyTest, TheCollectorReadsWhatTheAgentWrites) {
  TallixGlobalVariableStorage storage("1.0");
  storage.update([](TallixSettings& settings) {
    settings.apiKey = "QF7TNW2XKD94RBLM3VPA";
    settings.appVersion = "0.1.0";
    settings.launchOptions = Value::Dictionary{{"url", Value::Array{"orvane://"}}};
  });
  storage.persistentCookiesMap().setValue("srv", "abc");
  TallixSystemClock clock;
  TallixTrackedProperties tracked(storage.persistentGlobalsMap());
  TallixRequestBodyWriter writer(storage, clock, tracked,
                                 {"QEMU Standard PC", "12", "x86_64", 1920, 1080,
                                  "org.orvane.Orvane", "TALLIX-ID", "VENDOR-ID"});
  const auto body = writer.dataForSessions({}, clock.now(), false);
  ASSERT_TRUE(body);
  const TallixJson report = TallixReportReader::read(*body);
  const json_t* json = report.get();
  EXPECT_EQ(jsonText(json, "body/apiKey"), "QF7TNW2XKD94RBLM3VPA");
  EXPECT_EQ(jsonText(json, "body/deviceIds/tallixId"), "TALLIX-ID");
  EXPECT_EQ(jsonText(json, "body/deviceIds/identifierForVendor"), "VENDOR-ID");
  EXPECT_EQ(jsonText(json, "body/deviceProperties/4/value"), "1080");
  EXPECT_EQ(jsonText(json, "body/launchOptions/0/values/0"), "orvane://");
  EXPECT_EQ(jsonText(json, "body/bundleIdentifier"), "org.orvane.Orvane");
  EXPECT_EQ(jsonText(json, "body/cookies/0/value"), "abc");
}

}  // namespace
}  // namespace tallix
