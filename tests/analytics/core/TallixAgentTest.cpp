#include <gtest/gtest.h>

#include <string>

#include "AgentTestSupport.h"
#include "analytics/core/agent/TallixAgent.h"
#include "analytics/core/support/TallixLog.h"
#include "tallix/TallixDelegate.h"

namespace tallix {
namespace {

using foundation::Value;
using namespace std::chrono_literals;

constexpr const char* kApiKey = "QF7T NW2X";

class RecordingDelegate : public TallixDelegate {
 public:
  void tallixSessionDidCreateWithInfo(const TallixValue::Dictionary& info) override {
    sessionIds.push_back(*info.at("sessionId").string());
  }
  std::vector<std::string> sessionIds;
};

// An agent over a fresh directory, a private notification centre and a clock the test moves.
class TallixAgentTest : public ::testing::Test {
 protected:
  TallixAgentTest() {
    agent.setApplication(application);
    agent.setDelegate(delegate);
  }

  void post(const char* notification) { center.post(notification); }

  // The session as the agent last saved it.
  std::shared_ptr<TallixSession> savedSession() {
    EXPECT_TRUE(agent.waitUntilIdle(5s));
    return foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(
        TallixFilePaths(directory.path(), "QF7TNW2X").currentSession());
  }

  std::string leaveAndReturnAfter(double seconds) {
    post(kApplicationWillResignActiveNotification);
    clock->advance(seconds);
    post(kApplicationWillEnterForegroundNotification);
    post(kApplicationDidBecomeActiveNotification);
    EXPECT_TRUE(agent.waitUntilIdle(5s));
    return agent.getSessionID();
  }

  foundation::TemporaryDirectory directory;
  std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  foundation::NotificationCenter center;
  std::shared_ptr<TestApplication> application =
      std::make_shared<TestApplication>(directory.path());
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
  TallixAgent agent{testEnvironment(clock, center, directory.path())};
};

TEST_F(TallixAgentTest, StartsOnceAndRefusesALateAppVersion) {
  EXPECT_EQ(agent.logEvent("early", {}, false), EventRecordResult::Deferred);
  agent.startSession(kApiKey);
  EXPECT_TRUE(agent.waitUntilIdle(5s));
  const std::string first = agent.getSessionID();
  EXPECT_EQ(first, std::to_string(static_cast<long long>(kTestEpoch) * 1000));

  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  agent.startSession("OTHER");
  agent.setAppVersion("9.9");
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_NE(output.find("Tallix: startSession has been called already. It should only be called "
                        "once. Returning."),
            std::string::npos);
  EXPECT_NE(output.find("Tallix: Please call setAppVersion before startSession."),
            std::string::npos);
  EXPECT_EQ(agent.getSessionID(), first);
  EXPECT_EQ(delegate->sessionIds, std::vector<std::string>{first});

  const auto session = savedSession();
  ASSERT_TRUE(session);
  EXPECT_EQ(session->fields().apiKey, "QF7TNW2X");
  EXPECT_EQ(session->fields().appVersion, "2.5");
  ASSERT_EQ(session->eventLog().events().size(), 1u);
  EXPECT_EQ(session->eventLog().events()[0]->name(), "early");

  // The key's first run is kept for the reports of every later run.
  const auto firstRun = foundation::KeyedUnarchiver::unarchiveValueWithFile(
      TallixFilePaths(directory.path(), "QF7TNW2X").initialTimestamp());
  ASSERT_TRUE(firstRun && firstRun->date());
  EXPECT_EQ(firstRun->date()->timeIntervalSince1970(), kTestEpoch);
}

TEST_F(TallixAgentTest, TheContinueRuleResumesAtTenSecondsAndStartsAfreshJustPast) {
  agent.startSession(kApiKey);
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  const std::string first = agent.getSessionID();
  EXPECT_EQ(leaveAndReturnAfter(10.0), first);
  const std::string second = leaveAndReturnAfter(10.001);
  EXPECT_NE(second, first);
  EXPECT_EQ(delegate->sessionIds.size(), 2u);
  EXPECT_EQ(savedSession()->fields().totalPauseIntervalMillis, 0);
}

TEST_F(TallixAgentTest, WithBackgroundSessionsLeavingDoesNotPause) {
  agent.setBackgroundSessionEnabled(true);
  agent.startSession(kApiKey);
  post(kApplicationWillResignActiveNotification);
  clock->advance(60);
  EXPECT_EQ(agent.logEvent("away", {}, false), EventRecordResult::Recorded);
  const auto session = savedSession();
  EXPECT_FALSE(session->isPaused());
  EXPECT_EQ(session->eventLog().events().size(), 1u);
}

TEST_F(TallixAgentTest, PredictionsAnswerForTheApplicationWhileTheSessionKeepsItsOwnCount) {
  agent.startSession(kApiKey);
  post(kApplicationWillResignActiveNotification);
  EXPECT_EQ(agent.logEvent("away", {}, false), EventRecordResult::Recorded);
  const auto paused = savedSession();
  EXPECT_TRUE(paused->isPaused());
  EXPECT_EQ(paused->eventLog().pending().size(), 1u);
  post(kApplicationDidBecomeActiveNotification);

  for (int i = 1; i < 100; ++i)
    agent.logEvent("name" + std::to_string(i), {}, false);
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  EXPECT_EQ(agent.logEvent("name5", {}, false), EventRecordResult::NameLimitReached);
  const auto session = savedSession();
  EXPECT_EQ(session->eventLog().counts().at("name5"), 2);
  EXPECT_EQ(session->eventLog().counts().at("away"), 1);
}

TEST_F(TallixAgentTest, ApplicationLaunchedInactiveStartsItsSessionWhenLaunchingFinishes) {
  application->state = ApplicationState::Inactive;
  agent.startSession(kApiKey);
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  EXPECT_FALSE(agent.activeSessionExists());
  center.post(kApplicationDidFinishLaunchingNotification, nullptr,
              Value(Value::Dictionary{{"url", "orvane://"}}));
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  EXPECT_TRUE(agent.activeSessionExists());
}

TEST_F(TallixAgentTest, RefusesArgumentsOfTheWrongKindWithTheirReasons) {
  agent.startSession(kApiKey);
  testing::internal::CaptureStdout();
  EXPECT_EQ(agent.logEvent(Value(3), {}, false), EventRecordResult::Invalid);
  EXPECT_EQ(agent.logEvent("", {}, false), EventRecordResult::Invalid);
  Value::Dictionary eleven;
  for (int i = 0; i < 11; ++i)
    eleven.emplace(std::to_string(i), i);
  EXPECT_EQ(agent.logEvent("big", Value(eleven), false), EventRecordResult::TooManyParameters);
  agent.logError(Value(), "message", std::exception_ptr());
  agent.logError("id", Value(1.5), std::error_code());
  agent.setGender(Value(true));
  agent.addOrigin("origin", Value());
  const std::string output = testing::internal::GetCapturedStdout();
  for (const char* refusal :
       {"Tallix: Event not logged -- eventName must be of NSString type.",
        "Tallix: Event not logged -- eventName may not be empty.",
        "Tallix: Event not logged -- parameters may not contain more than 10 elements.",
        "Tallix: Error not logged -- errorId must be of NSString type.",
        "Tallix: Error not logged -- message must be of NSString type.",
        "Tallix: setGender failed -- gender must be of NSString type.",
        "Tallix: Origin not added -- originVersion must be of NSString type."})
    EXPECT_NE(output.find(refusal), std::string::npos) << refusal;
  const auto session = savedSession();
  EXPECT_TRUE(session->eventLog().events().empty());
  EXPECT_TRUE(session->fields().errors.empty());
  EXPECT_EQ(session->fields().gender, -1);
}

// Reports on close hand the session to the uploader instead; the upload tests cover that.
TEST_F(TallixAgentTest, TerminationEndsTheSessionIntoTheSavedSessions) {
  agent.setSessionReportsOnCloseEnabled(false);
  agent.startSession(kApiKey);
  agent.logError("E1", "broken", std::make_exception_ptr(std::out_of_range("index 7")));
  post(kApplicationWillTerminateNotification);
  const TallixFilePaths paths(directory.path(), "QF7TNW2X");
  EXPECT_FALSE(std::filesystem::exists(paths.currentSession()));
  const auto saved = foundation::KeyedUnarchiver::unarchiveValueWithFile(paths.savedSessions());
  ASSERT_TRUE(saved && saved->array());
  EXPECT_EQ(saved->array()->size(), 1u);
}

}  // namespace
}  // namespace tallix
