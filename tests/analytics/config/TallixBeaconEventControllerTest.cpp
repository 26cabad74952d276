// The callback controller against the local collector on the loopback: configuration fetched
// when it should be, callbacks substituted, fired, retried and kept across a restart.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include "TemporaryDirectory.h"
#include "analytics/config/callbacks/TallixBeaconEventController.h"
#include "analytics/config/exchange/TallixBeaconSettingsStore.h"
#include "analytics/core/net/TallixNetworkUtil.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "foundation/NotificationCenter.h"
#include "tallix/TallixApplication.h"
#include "tests/analytics/FixedClock.h"
#include "tests/tools/RunningCollector.h"

namespace tallix {
namespace {

using namespace std::chrono_literals;
using foundation::Date;
using foundation::Value;
using Controller = TallixBeaconEventController;

constexpr const char* kApiKey = "BEACONTEST";

// A session of the manual clock's day: started at the epoch, `seconds` long.
TallixSessionSpan sessionOf(double seconds, double startOffset = 0) {
  const Date start = Date::fromTimeIntervalSince1970(kTestEpoch + startOffset);
  return {start, start.dateByAddingTimeInterval(seconds), 0};
}

std::string templateJson(const std::string& event, const std::string& method,
                         const std::string& uri) {
  return R"({"partner":"test","events":[")" + event + R"("],"method":")" + method +
         R"(","uri_template":")" + uri + R"("})";
}

// One agent's storage and network over a directory, a controller over them, and the collector
// serving their configuration and taking their callbacks.
class BeaconHarness {
 public:
  BeaconHarness(RunningCollector& collector, const std::filesystem::path& directory)
      : collector(collector), directory_(directory) {
    storage.setApiKey(kApiKey, directory_);
    storage.setBeaconMonitoringEnabled(true);
    network->setConfigServerUrl("http://" + collector.host() + "/sdk/v1/config");
    start();
  }

  void start() {
    // A repeat duration of 30 waits 0.9 s before the retry.
    controller = std::make_shared<Controller>(Controller::Timing{10ms});
    controller->agentDidStart({kApiKey, directory_, storage, network, clock, center, {}});
  }

  // The collector hands out these templates, fresh for a day.
  void configure(const std::string& templates) {
    collector.control(R"({"config":{"callbacks":{"templates":[)" + templates + "]}}}");
  }
  std::string callbackUrl(const std::string& path) { return "http://" + collector.host() + path; }
  void becomeReachable() { network->reachabilityChanged(true); }

  // Waits until the controller is idle and the collector has heard what it sent.
  bool settle() {
    std::this_thread::sleep_for(50ms);
    return controller->waitUntilIdle(5s);
  }
  // The callbacks the collector received, as "METHOD path?query".
  std::vector<std::string> received() {
    std::vector<std::string> lines;
    const auto listed = collector.client().Get("/callbacks");
    const TallixJson json(listed ? json_loads(listed->body.c_str(), 0, nullptr) : nullptr);
    std::size_t index;
    json_t* entry;
    json_array_foreach(json.get(), index, entry) {
      std::string line = std::string(json_string_value(json_object_get(entry, "method"))) + " " +
                         json_string_value(json_object_get(entry, "path"));
      const char* name;
      json_t* value;
      json_object_foreach(json_object_get(entry, "query"), name, value) {
        line += std::string(line.find('?') == std::string::npos ? "?" : "&") + name + "=" +
                json_string_value(value);
      }
      lines.push_back(line);
    }
    return lines;
  }
  std::size_t configRequests() {
    const auto listed = collector.client().Get("/config-requests");
    const TallixJson json(listed ? json_loads(listed->body.c_str(), 0, nullptr) : nullptr);
    return json_array_size(json.get());
  }
  Value::Dictionary pending() { return storage.persistentBeaconUrlsMap().entries(); }
  Value::Dictionary prepared() { return storage.persistentBeaconPrepUrlsMap().entries(); }

  RunningCollector& collector;
  const std::filesystem::path directory_;
  ManualClock clock;
  foundation::NotificationCenter center;
  TallixGlobalVariableStorage storage{"1.0"};
  std::shared_ptr<TallixNetworkUtil> network = std::make_shared<TallixNetworkUtil>(center, "");
  std::shared_ptr<Controller> controller;
};

class TallixBeaconEventControllerTest : public ::testing::Test {
 protected:
  // A restart: the same directory and collector, a new agent.
  void restart() {
    beacon.reset();
    beacon = std::make_unique<BeaconHarness>(collector, directory.path());
  }

  RunningCollector collector;
  foundation::TemporaryDirectory directory;
  std::unique_ptr<BeaconHarness> beacon =
      std::make_unique<BeaconHarness>(collector, directory.path());
};

TEST(TallixBeaconSubstitutionTest, PlaceholdersAreFilledOrRemoved) {
  const std::map<std::string, std::string> values{{"%{session_duration_millis}", "1500"},
                                                  {"%{timestamp_epoch_millis}", "1795424400000"}};
  const std::pair<std::string, std::string> cases[] = {
      {"http://p/x?d=%{session_duration_millis}&t={timestamp_epoch_millis}",
       "http://p/x?d=1500&t="},
      {"http://p/%{timestamp_epoch_millis}/%{unknown}", "http://p/1795424400000/"},
      {"http://p/{}%{}?a=%{session_duration_millis}%{session_duration_millis}",
       "http://p/?a=15001500"},
      {"http://p/%{not-a-name}", "http://p/%{not-a-name}"},
  };
  for (const auto& [uri, expected] : cases) {
    std::string url = uri;
    Controller::substituteParamsInURL(url, values);
    EXPECT_EQ(url, expected) << uri;
  }
  EXPECT_EQ(Controller::beaconEventStringToEnum("tallix.session_end"), 2);
  EXPECT_EQ(Controller::beaconEventStringToEnum("other"), 0);
  EXPECT_EQ(Controller::beaconEventEnumToString(3), "tallix.first_app_launch");
}

TEST_F(TallixBeaconEventControllerTest, ASessionsEndFiresItsTemplatesInOrderWithTheirMethods) {
  beacon->configure(
      templateJson(
          "tallix.session_end", "GET",
          beacon->callbackUrl("/a?d=%{session_duration_millis}&t=%{timestamp_epoch_millis}")) +
      "," + templateJson("tallix.session_start", "GET", beacon->callbackUrl("/never")) + "," +
      templateJson("tallix.session_end", "PUT",
                   beacon->callbackUrl("/b?f=%{fg_timespent_millis}")));
  beacon->controller->sessionDidStart(kApiKey, "1");
  ASSERT_TRUE(beacon->settle());
  ASSERT_EQ(beacon->configRequests(), 1u);
  const auto settings = TallixBeaconSettingsStore(beacon->storage.persistentGlobalsMap()).load();
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->callbacks().size(), 3u);

  // The same event twice before firing: only the second set stays.
  beacon->controller->sessionDidPause(sessionOf(1.0));
  beacon->controller->sessionDidPause(sessionOf(1.5));
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->prepared().size(), 1u);
  EXPECT_TRUE(beacon->received().empty());

  beacon->controller->sessionDidStart(kApiKey, "2");
  ASSERT_TRUE(beacon->settle());
  // Fired in template order, but on two connections at once: they may arrive either way.
  auto received = beacon->received();
  std::sort(received.begin(), received.end());
  EXPECT_EQ(received, (std::vector<std::string>{"GET /a?d=1500&t=1795424400000", "PUT /b?f=1500"}));
  EXPECT_TRUE(beacon->prepared().empty());
  EXPECT_TRUE(beacon->pending().empty());
  EXPECT_EQ(beacon->configRequests(), 1u) << "a fresh configuration with templates is kept";
}

TEST_F(TallixBeaconEventControllerTest, TheStoredSettingsDecideWhetherToFetch) {
  const auto serve = [this](const std::string& templates) {
    collector.control(R"({"config":{"refresh_ttl":60,"expiration_ttl":120,"callbacks":)"
                      R"({"templates":[)" +
                      templates + "]}}}");
  };
  const auto startSessions = [this](int count) {
    for (int session = 0; session < count; ++session) {
      beacon->controller->sessionDidStart(kApiKey, "");
      EXPECT_TRUE(beacon->settle());
    }
  };
  serve("");
  startSessions(2);
  EXPECT_EQ(beacon->configRequests(), 2u) << "without templates, fetched even while fresh";
  serve(templateJson("x", "GET", "http://p/"));
  startSessions(2);
  EXPECT_EQ(beacon->configRequests(), 3u) << "fresh and with templates: kept";
  beacon->clock.advance(61);
  startSessions(1);
  EXPECT_EQ(beacon->configRequests(), 4u) << "stale: used, but fetched again";

  // Expired, with the service hanging: dropped at once, and one request however many triggers.
  collector.control(R"({"configDelayMs":1000})");
  beacon->clock.advance(121);
  for (int session = 0; session < 3; ++session)
    beacon->controller->sessionDidStart(kApiKey, "");
  ASSERT_TRUE(beacon->controller->waitUntilIdle(5s));
  EXPECT_FALSE(TallixBeaconSettingsStore(beacon->storage.persistentGlobalsMap()).load());
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(beacon->configRequests(), 5u);
}

TEST_F(TallixBeaconEventControllerTest, FailedCallbacksGoAgainUntilDeliveredAndSurviveARestart) {
  beacon->configure(templateJson("tallix.session_end", "GET", beacon->callbackUrl("/cb")) + "," +
                    templateJson("tallix.session_end", "GET", "not a url"));
  collector.control(R"({"callbackStatus":500})");
  beacon->becomeReachable();
  ASSERT_TRUE(beacon->settle());
  beacon->controller->sessionDidPause(sessionOf(2));
  beacon->controller->sessionDidStart(kApiKey, "");
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->received().size(), 1u);
  EXPECT_EQ(beacon->pending().size(), 2u) << "both failures stay pending";

  // Reachable: each failure goes again after 0.9 s.
  std::this_thread::sleep_for(1200ms);
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->received().size(), 2u);
  // Leaving the application drops the timers; the URLs stay on disk.
  beacon->center.post(kApplicationWillResignActiveNotification);
  ASSERT_TRUE(beacon->settle());

  restart();
  EXPECT_EQ(beacon->pending().size(), 2u);
  collector.control(R"({"callbackStatus":200})");
  beacon->center.post(kApplicationDidBecomeActiveNotification);  // not reachable yet
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->received().size(), 2u);
  beacon->becomeReachable();
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->received().size(), 3u);
  const auto pending = beacon->pending();
  ASSERT_EQ(pending.size(), 1u) << "delivered, so gone; the malformed one stays";
  EXPECT_EQ(pending.begin()->first, "not a url");
}

TEST_F(TallixBeaconEventControllerTest,
       ExpiredCallbacksAreDroppedUnfiredAndQueuedOnesGoWithoutSettings) {
  const std::string url = beacon->callbackUrl("/kept");
  beacon->storage.persistentBeaconUrlsMap().setValue(
      url, Value::Dictionary{{"invokeURL", url},
                             {"method", "GET"},
                             {"beingFired", false},
                             {"repeatDuration", 30},
                             {"expiration", "99999999999"}});
  beacon->storage.persistentBeaconUrlsMap().setValue(
      "http://p/expired", Value::Dictionary{{"invokeURL", "http://p/expired"},
                                            {"method", "GET"},
                                            {"beingFired", false},
                                            {"repeatDuration", 30},
                                            {"expiration", "0"}});
  beacon->storage.setBeaconMonitoringEnabled(false);
  beacon->becomeReachable();
  ASSERT_TRUE(beacon->settle());
  EXPECT_EQ(beacon->received(), std::vector<std::string>{"GET /kept"});
  EXPECT_TRUE(beacon->pending().empty());
  EXPECT_EQ(beacon->configRequests(), 0u) << "no fetch while monitoring is off";
}

}  // namespace
}  // namespace tallix
