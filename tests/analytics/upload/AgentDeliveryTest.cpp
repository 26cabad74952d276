#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>

#include "Eventually.h"
#include "TemporaryDirectory.h"
#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/upload/TallixDataSenderBlockInfo.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/core/AgentTestSupport.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"

namespace tallix {
namespace {

using namespace std::chrono_literals;
using foundation::eventually;

constexpr const char* kApiKey = "QF7TNW2XKD94RBLM3VPA";

// A whole agent reporting to the local collector over plain HTTP on the loopback.
class AgentDeliveryTest : public ::testing::Test {
 protected:
  AgentDeliveryTest() {
    agent.setApplication(application);
    agent.setServerURL(collector.host());
    agent.setSecureTransportEnabled(false);
  }

  std::size_t storedBlocks() const {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path()))
      count += TallixDataSenderBlockInfo::looksLikeBlockFile(entry.path());
    return count;
  }
  // What the collector holds once the agent is idle and every stored block has been taken.
  TallixJson reportsOnceThereAre(std::size_t count) {
    EXPECT_TRUE(agent.waitUntilIdle(5s));
    EXPECT_TRUE(eventually([&] {
      return storedBlocks() == 0 && json_array_size(collector.reports().get()) >= count;
    }));
    TallixJson reports = collector.reports();
    EXPECT_EQ(json_array_size(reports.get()), count);
    return reports;
  }

  foundation::TemporaryDirectory directory;
  RunningCollector collector;
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  foundation::NotificationCenter center;
  std::shared_ptr<TestApplication> application =
      std::make_shared<TestApplication>(directory.path());
  TallixAgent agent{testEnvironment(clock, center, directory.path())};
};

TEST_F(AgentDeliveryTest, EndedSessionReachesTheCollectorAsItWasLogged) {
  agent.startSession(kApiKey);
  agent.setUserID("listener-7");
  agent.logEvent("talk", foundation::Value::Dictionary{{"effect", "Monster"}}, false);
  agent.logEvent("replay", {}, false);
  agent.logError("E1", "broken", std::make_exception_ptr(std::out_of_range("index 7")));
  clock->advance(12);
  agent.endSession();

  const TallixJson reports = reportsOnceThereAre(1);
  const json_t* report = jsonAt(reports.get(), "0");
  EXPECT_EQ(jsonText(report, "status"), "accepted");
  EXPECT_EQ(jsonText(report, "body/apiKey"), kApiKey);
  EXPECT_EQ(jsonText(report, "body/bundleIdentifier"), "org.orvane.Test");
  EXPECT_EQ(jsonText(report, "body/applicationVersion"), "2.5");
  ASSERT_EQ(json_array_size(jsonAt(report, "body/sessions")), 1u);
  const json_t* session = jsonAt(report, "body/sessions/0");
  EXPECT_EQ(jsonInteger(session, "sessionLength"), 12000);
  EXPECT_EQ(jsonText(session, "userId"), "listener-7");
  EXPECT_EQ(jsonText(session, "events/0/name"), "talk");
  EXPECT_EQ(jsonText(session, "events/0/parameters/0/key"), "effect");
  EXPECT_EQ(jsonText(session, "events/0/parameters/0/value"), "Monster");
  EXPECT_EQ(jsonText(session, "events/1/name"), "replay");
  EXPECT_EQ(json_array_size(jsonAt(session, "events")), 2u);
  EXPECT_EQ(jsonText(session, "errors/0/errorId"), "E1");
  EXPECT_EQ(jsonText(session, "errors/0/message"), "broken");
  EXPECT_EQ(jsonText(session, "errors/0/exception"), "std::out_of_range: index 7");
}

TEST_F(AgentDeliveryTest, EachSessionIsReportedAtItsPausesAndNeverAgainOnceEnded) {
  agent.startSession(kApiKey);
  agent.logEvent("first", {}, false);
  center.post(kApplicationWillResignActiveNotification);  // reported at the pause
  reportsOnceThereAre(1);
  clock->advance(30);
  center.post(kApplicationDidBecomeActiveNotification);  // a new session; the first is kept
  agent.logEvent("second", {}, false);
  agent.endSession();  // reports the first again, with the second
  reportsOnceThereAre(3);
  agent.endSession();  // nothing new: nothing sent
  center.post(kApplicationWillResignActiveNotification);
  clock->advance(30);
  center.post(kApplicationDidBecomeActiveNotification);
  agent.logEvent("third", {}, false);
  agent.endSession();

  const TallixJson reports = reportsOnceThereAre(4);
  std::vector<std::string> firstEvents;
  for (std::size_t index = 0; index < json_array_size(reports.get()); ++index) {
    const std::string session = std::to_string(index) + "/body/sessions/0";
    firstEvents.push_back(jsonText(reports.get(), session + "/events/0/name"));
  }
  // The ended second session is not reported again when the third begins and ends. Reports go
  // out side by side, so they may arrive in any order.
  std::sort(firstEvents.begin(), firstEvents.end());
  EXPECT_EQ(firstEvents, (std::vector<std::string>{"first", "first", "second", "third"}));
}

TEST_F(AgentDeliveryTest, AnOptOutBeforeTheStartHoldsAcrossARestartAndNothingLeaves) {
  agent.setTallixOptOut(true);
  agent.startSession(kApiKey);
  agent.shutdown();
  TallixAgent restarted{testEnvironment(clock, center, directory.path())};
  restarted.setApplication(application);
  restarted.setServerURL(collector.host());
  restarted.setSecureTransportEnabled(false);
  restarted.startSession(kApiKey);
  EXPECT_TRUE(restarted.hasUserOptedOut());
  restarted.logEvent("talk", {}, false);
  restarted.endSession();
  EXPECT_TRUE(restarted.waitUntilIdle(5s));
  EXPECT_EQ(json_array_size(collector.reports().get()), 0u);
}

TEST_F(AgentDeliveryTest, EachRecordTellsTheOrientationOfTheScreenWhenItWasWritten) {
  agent.setSessionReportsOnPauseEnabled(false);
  agent.startSession(kApiKey);
  agent.logEvent("upright", {}, false);
  center.post(kApplicationWillResignActiveNotification);
  clock->advance(30);
  center.post(kApplicationDidBecomeActiveNotification);  // the first is written and kept
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  application->screen = ScreenSize{1920, 1080};
  agent.logEvent("turned", {}, false);
  agent.endSession();  // reports the kept first with the second

  const TallixJson reports = reportsOnceThereAre(2);
  std::map<std::string, json_int_t> orientations;
  for (std::size_t index = 0; index < json_array_size(reports.get()); ++index) {
    const json_t* session = jsonAt(reports.get(), std::to_string(index) + "/body/sessions/0");
    orientations[jsonText(session, "events/0/name")] = jsonInteger(session, "orientation");
  }
  EXPECT_EQ(orientations, (std::map<std::string, json_int_t>{{"upright", 1}, {"turned", 2}}));
}

}  // namespace
}  // namespace tallix
