// The extension facade over a whole agent: its checks, in their order, and watch sessions that
// go on across processes and reach the local collector when they are full or too old.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "TemporaryDirectory.h"
#include "analytics/config/watch/TallixWatchAgent.h"
#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/support/TallixFilePaths.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/KeyedUnarchiver.h"
#include "foundation/NotificationCenter.h"
#include "tests/analytics/core/AgentTestSupport.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"

namespace tallix {
namespace {

using namespace std::chrono_literals;
using foundation::Value;

constexpr const char* kWatchKey = "WATCHKEY7";

std::string printedAtDebugLevel(const std::function<void()>& work) {
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  testing::internal::CaptureStdout();
  work();
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  return testing::internal::GetCapturedStdout();
}

Value parameters(int count) {
  Value::Dictionary entries;
  for (int index = 0; index < count; ++index)
    entries.emplace("p" + std::to_string(index), index);
  return entries;
}

// One extension process: an agent that never starts a session of its own, and the extension
// facade over it, reporting to the collector. The application ships the key and runs as an
// extension unless a test says otherwise.
class TallixWatchAgentTest : public ::testing::Test {
 protected:
  TallixWatchAgentTest() {
    application->watchApiKey = kWatchKey;
    application->watchExtension = true;
    startProcess();
  }

  // A new process over the same files.
  void startProcess() {
    watch.reset();
    agent = std::make_unique<TallixAgent>(testEnvironment(clock, center, directory.path()));
    agent->setApplication(application);
    agent->setServerURL(collector.host());
    agent->setSecureTransportEnabled(false);
    watch = std::make_unique<TallixWatchAgent>(*agent);
  }

  void logEvents(const char* name, int count) {
    for (int index = 0; index < count; ++index)
      EXPECT_EQ(watch->logWatchEvent(name, {}), EventRecordResult::Recorded);
    ASSERT_TRUE(watch->waitUntilIdle(5s));
  }

  std::size_t reportCount() { return json_array_size(collector.reports().get()); }
  bool sessionFilesExist() const {
    return std::filesystem::exists(paths.watchSession()) ||
           std::filesystem::exists(paths.watchCounters());
  }
  std::shared_ptr<TallixSession> sessionOnDisk() const {
    return foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(
        paths.watchSession());
  }

  foundation::TemporaryDirectory directory;
  const TallixFilePaths paths{directory.path(), kWatchKey};
  RunningCollector collector;
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  foundation::NotificationCenter center;
  std::shared_ptr<TestApplication> application =
      std::make_shared<TestApplication>(directory.path());
  std::unique_ptr<TallixAgent> agent;
  std::unique_ptr<TallixWatchAgent> watch;
};

TEST_F(TallixWatchAgentTest, WithoutTheShippedKeyEveryCallFailsAndTheKeyIsLookedForOnce) {
  application->watchApiKey.reset();
  EventRecordResult result = EventRecordResult::Recorded;
  const std::string output = printedAtDebugLevel([&] {
    result = watch->logWatchEvent("talk", {});
    watch->logWatchError("E1", "broken", std::exception_ptr());
    watch->logWatchError("E2", "broken", std::make_error_code(std::errc::io_error));
  });
  EXPECT_EQ(result, EventRecordResult::Invalid);
  EXPECT_EQ(output,
            "API Key not provided in plist with key Tallix Watch API Key, unable to create "
            "watch session\n"
            "No API key provided in plist, unable to log event\n"
            "No API key provided in plist, unable to log error\n"
            "No API key provided in plist, unable to log error\n");
  EXPECT_TRUE(watch->waitUntilIdle(0ms));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));
}

TEST_F(TallixWatchAgentTest, ChecksComeInTheirOrderAndOnlyAnExtensionReachesItsSession) {
  const Value eleven = parameters(11);
  std::vector<EventRecordResult> results;
  application->watchExtension = false;
  std::string output = printedAtDebugLevel([&] {
    results.push_back(watch->logWatchEvent(3, eleven));
    results.push_back(watch->logWatchEvent("talk", {}));
    watch->logWatchError(3, 4, std::exception_ptr());
  });
  EXPECT_TRUE(watch->waitUntilIdle(5s));
  EXPECT_TRUE(std::filesystem::is_empty(directory.path()));

  application->watchExtension = true;
  output += printedAtDebugLevel([&] {
    results.push_back(watch->logWatchEvent(3, eleven));
    results.push_back(watch->logWatchEvent("", {}));
    results.push_back(watch->logWatchEvent("talk", eleven));
    watch->logWatchError(3, 4, std::exception_ptr());
    watch->logWatchError("E1", 4, std::error_code());
  });
  agent->setTallixOptOut(true);
  output += printedAtDebugLevel([&] {
    results.push_back(watch->logWatchEvent("talk", eleven));
    results.push_back(watch->logWatchEvent("talk", {}));
    watch->logWatchError("E1", "broken", std::exception_ptr());
    watch->logWatchError("E1", "broken", std::error_code());
  });
  EXPECT_FALSE(sessionFilesExist());
  using enum EventRecordResult;
  EXPECT_EQ(results, (std::vector{Invalid, Invalid, Invalid, Invalid, TooManyParameters,
                                  TooManyParameters, Invalid}));
  EXPECT_EQ(output,
            "Tallix: Event not logged -- this method can only be used in watch extension.\n"
            "Tallix: Event not logged -- this method can only be used in watch extension.\n"
            "Tallix: Error not logged -- this method can only be used in watch extension.\n"
            "Tallix: Event not logged -- eventName must be of NSString type.\n"
            "Tallix: Event not logged -- eventName may not be empty.\n"
            "Tallix: Event not logged -- parameters may not contain more than 10 elements.\n"
            "Tallix: Error not logged -- errorId must be of NSString type.\n"
            "Tallix: Error not logged -- message must be of NSString type.\n"
            "Tallix: Event not logged -- parameters may not contain more than 10 elements.\n"
            "Tallix: +[TallixWatch logWatchEvent:withParameters:] disabled.\n"
            "Tallix: +[TallixWatch logWatchError:message:exception:] disabled.\n"
            "Tallix: +[TallixWatch logWatchError:message:error:] disabled.\n");

  agent->setTallixOptOut(false);
  EXPECT_EQ(watch->logWatchEvent("talk", parameters(10)), Recorded);
  ASSERT_TRUE(watch->waitUntilIdle(5s));
  const auto session = sessionOnDisk();
  ASSERT_TRUE(session);
  ASSERT_EQ(session->eventLog().events().size(), 1u);
  EXPECT_EQ(session->eventLog().events()[0]->parameters(), parameters(10));
}

TEST_F(TallixWatchAgentTest, AWatchSessionGoesOnAcrossProcessesAndIsSentWhenFull) {
  logEvents("talk", 5);
  startProcess();
  logEvents("replay", 4);
  EXPECT_EQ(reportCount(), 0u);
  ASSERT_TRUE(sessionFilesExist());

  // The tenth entry, an error, fills it.
  const std::string output = printedAtDebugLevel([&] {
    watch->logWatchError("E1", "lost", std::make_exception_ptr(std::runtime_error("no route")));
    EXPECT_TRUE(watch->waitUntilIdle(5s));
  });
  EXPECT_EQ(output.find("background task"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(paths.watchSession()));
  EXPECT_FALSE(std::filesystem::exists(paths.watchCounters()));
  const TallixJson reports = collector.reports();
  ASSERT_EQ(json_array_size(reports.get()), 1u);
  const json_t* report = jsonAt(reports.get(), "0");
  EXPECT_EQ(jsonText(report, "body/apiKey"), kWatchKey);
  EXPECT_EQ(jsonInteger(report, "body/agentKind"), 2);
  const json_t* session = jsonAt(report, "body/sessions/0");
  ASSERT_EQ(json_array_size(jsonAt(session, "events")), 9u);
  EXPECT_EQ(jsonText(session, "events/8/name"), "replay");
  EXPECT_EQ(jsonInteger(session, "events/8/eventLogId"), 9);  // numbered on across processes
  EXPECT_EQ(jsonText(session, "errors/0/errorId"), "E1");

  // The next call begins a new session, numbered from 1 again.
  logEvents("talk", 1);
  const auto next = sessionOnDisk();
  ASSERT_TRUE(next);
  ASSERT_EQ(next->eventLog().events().size(), 1u);
  EXPECT_EQ(next->eventLog().events()[0]->eventLogId(), 1);
}

TEST_F(TallixWatchAgentTest, AWatchSessionOlderThanHalfAnHourIsSentAtTheNextCall) {
  logEvents("first", 1);
  clock->advance(30 * 60);
  logEvents("second", 1);  // exactly half an hour: still the same session
  EXPECT_EQ(reportCount(), 0u);
  clock->advance(1);
  logEvents("third", 1);

  const TallixJson reports = collector.reports();
  ASSERT_EQ(json_array_size(reports.get()), 1u);
  const json_t* session = jsonAt(reports.get(), "0/body/sessions/0");
  ASSERT_EQ(json_array_size(jsonAt(session, "events")), 2u);
  EXPECT_EQ(jsonText(session, "events/1/name"), "second");
  const auto next = sessionOnDisk();
  ASSERT_TRUE(next);
  ASSERT_EQ(next->eventLog().events().size(), 1u);
  EXPECT_EQ(next->eventLog().events()[0]->name(), "third");
}

}  // namespace
}  // namespace tallix
