#include <gtest/gtest.h>

#include <future>
#include <map>
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
  std::shared_ptr<FakeCrashCapture> crash = std::make_shared<FakeCrashCapture>();
  TallixAgent agent{testEnvironment(clock, center, directory.path(), crash)};
};

TEST_F(TallixAgentTest, StartsOnceWhenLaunchedKeepsWhatWasLoggedBeforeAndRefusesALateAppVersion) {
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  // The pre-cache keeps what one session can log.
  for (int i = 0; i <= 1000; ++i)
    EXPECT_EQ(agent.logEvent(i < 1000 ? "early" : "dropped", {}, false),
              EventRecordResult::Deferred);
  // Launched inactive, the session starts when launching finishes.
  application->state = ApplicationState::Inactive;
  agent.startSession(kApiKey);
  EXPECT_TRUE(agent.waitUntilIdle(5s));
  EXPECT_FALSE(agent.activeSessionExists());
  center.post(kApplicationDidFinishLaunchingNotification, nullptr,
              Value(Value::Dictionary{{"url", "orvane://"}}));
  EXPECT_TRUE(agent.waitUntilIdle(5s));
  const std::string first = agent.getSessionID();
  EXPECT_EQ(first, std::to_string(static_cast<long long>(kTestEpoch) * 1000));

  agent.startSession("OTHER");
  agent.setAppVersion("9.9");
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  const std::string output = testing::internal::GetCapturedStdout();
  for (const char* line :
       {"Tallix: pre-cache full, event [dropped] dropped",
        "Tallix: startSession has been called already. It should only be called once. Returning.",
        "Tallix: Please call setAppVersion before startSession."})
    EXPECT_NE(output.find(line), std::string::npos) << line;
  EXPECT_EQ(agent.getSessionID(), first);
  EXPECT_EQ(delegate->sessionIds, std::vector<std::string>{first});

  const auto session = savedSession();
  ASSERT_TRUE(session);
  EXPECT_EQ(session->fields().apiKey, "QF7TNW2X");
  EXPECT_EQ(session->fields().appVersion, "2.5");
  ASSERT_EQ(session->eventLog().events().size(), 1000u);
  EXPECT_EQ(session->eventLog().events()[0]->name(), "early");
  EXPECT_FALSE(session->eventLog().counts().contains("dropped"));

  // The key's first run is kept for the reports of every later run.
  const auto firstRun = foundation::KeyedUnarchiver::unarchiveValueWithFile(
      TallixFilePaths(directory.path(), "QF7TNW2X").initialTimestamp());
  ASSERT_TRUE(firstRun && firstRun->date());
  EXPECT_EQ(firstRun->date()->timeIntervalSince1970(), kTestEpoch);
}

TEST_F(TallixAgentTest, LeavingPausesAndTheContinueRuleResumesAtTenSecondsUnlessInBackground) {
  agent.startSession(kApiKey);
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  const std::string first = agent.getSessionID();
  // While paused the event is held, yet the forecast, which ignores pausing, says recorded.
  post(kApplicationWillResignActiveNotification);
  EXPECT_EQ(agent.logEvent("away", {}, false), EventRecordResult::Recorded);
  EXPECT_EQ(savedSession()->eventLog().pending().size(), 1u);
  EXPECT_EQ(leaveAndReturnAfter(10.0), first);
  const std::string second = leaveAndReturnAfter(10.001);
  EXPECT_NE(second, first);
  EXPECT_EQ(delegate->sessionIds.size(), 2u);
  EXPECT_EQ(savedSession()->fields().totalPauseIntervalMillis, 0);

  // With background sessions, leaving does not pause at all.
  agent.setBackgroundSessionEnabled(true);
  post(kApplicationWillResignActiveNotification);
  clock->advance(60);
  agent.logEvent("background", {}, false);
  const auto session = savedSession();
  EXPECT_FALSE(session->isPaused());
  EXPECT_EQ(session->eventLog().events().back()->name(), "background");
}

// The queue is held in the first session's setup while the application logs on: no call
// waits, each answers what the session comes to, and what only counts is counted exactly.
TEST_F(TallixAgentTest, LoggingNeverWaitsAndForecastsWhatTheQueuedEventsWillTake) {
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  center.addObserver("TallixSessionStarted", this, [released](const auto&) { released.wait(); });
  for (int i = 0; i < 990; ++i)
    agent.logEvent("early", {}, false);
  agent.startSession(kApiKey);

  std::map<EventRecordResult, int> answers;
  for (int i = 0; i < 20000; ++i)  // past any bound at which logging used to wait
    ++answers[agent.logEvent("late", {}, false)];
  for (int i = 0; i < 100; ++i)
    ++answers[agent.logEvent("name" + std::to_string(i), {}, false)];
  EXPECT_EQ(agent.logEvent("late", {}, false), EventRecordResult::NameLimitReached);
  release.set_value();

  EXPECT_EQ(answers[EventRecordResult::Recorded], 10);  // the room the pre-cache leaves
  EXPECT_EQ(answers[EventRecordResult::LogFullOrDisabled], 19990 + 98);
  EXPECT_EQ(answers[EventRecordResult::NameLimitReached], 2);
  const auto session = savedSession();
  const auto& log = session->eventLog();
  ASSERT_EQ(log.events().size(), 1000u);
  EXPECT_EQ(log.events().back()->name(), "late");
  EXPECT_EQ(log.counts().at("early"), 990);
  EXPECT_EQ(log.counts().at("late"), 20001);
  EXPECT_EQ(log.counts().at("name97"), 1);
  EXPECT_EQ(log.counts().size(), 100u);
  EXPECT_FALSE(log.complete());
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

// By hand or through the page-view delegates' port, views closer than 0.3 s count once. The
// session reads the clock on the agent queue, so each moment is waited out before the next.
TEST_F(TallixAgentTest, PageViewsCountOnTheSessionOncePerMoment) {
  agent.startSession(kApiKey);
  const auto viewAfter = [&](double seconds, const std::function<void()>& view) {
    clock->advance(seconds);
    view();
    EXPECT_TRUE(agent.waitUntilIdle(5s));
  };
  viewAfter(0, [&] { agent.logPageView(); });
  viewAfter(0, [&] { agent.pageViewCounter().maybeIncrementPageView(); });
  viewAfter(0.3, [&] { agent.logPageView(); });
  viewAfter(0.31, [&] { agent.pageViewCounter().maybeIncrementPageView(); });
  const auto session = savedSession();
  ASSERT_TRUE(session);
  EXPECT_EQ(session->fields().pageViewCount, 2);
}

// Earlier runs of the application over the test's directory, each leaving its session behind as
// a killed run does; the fixture's agent is the run after them.
TEST_F(TallixAgentTest, CrashReportingCountsFromTheStartThatFindsItOnAndTakesTheLastRunsReport) {
  const TallixFilePaths paths(directory.path(), "QF7TNW2X");
  const auto earlierRun = [&](auto&& run) {
    TallixAgent earlier(testEnvironment(clock, center, directory.path(), crash));
    earlier.setApplication(application);
    run(earlier);
    EXPECT_TRUE(earlier.waitUntilIdle(5s));
    clock->advance(60);
  };
  earlierRun([](TallixAgent& earlier) {
    earlier.setCrashReportingEnabled(true);
    earlier.startSession(kApiKey);
    earlier.startSession(kApiKey);
  });
  EXPECT_EQ(crash->enables, 1);

  // Switched on after the start: neither the reporter nor the report of the crash before it is
  // touched in this run, and logged errors carry no report.
  const std::string report = "tlxcrsh\x01 SIGSEGV";
  crash->pending = Value::Bytes(report.begin(), report.end());
  earlierRun([&](TallixAgent& earlier) {
    application->state = ApplicationState::Inactive;
    earlier.startSession(kApiKey);
    earlier.setCrashReportingEnabled(true);
    center.post(kApplicationDidFinishLaunchingNotification);
    earlier.logError("E1", "late", std::error_code());
    application->state = ApplicationState::Active;
  });
  EXPECT_EQ(crash->enables, 1);
  EXPECT_EQ(crash->loads, 0);
  EXPECT_TRUE(crash->pending);
  const auto lateRun =
      foundation::KeyedUnarchiver::unarchiveObjectWithFile<TallixSession>(paths.currentSession());
  ASSERT_TRUE(lateRun && lateRun->fields().errors.size() == 1);
  EXPECT_TRUE(lateRun->fields().errors[0]->reportData().empty());

  agent.setCrashReportingEnabled(true);
  agent.startSession(kApiKey);
  ASSERT_TRUE(agent.waitUntilIdle(5s));
  EXPECT_EQ(crash->enables, 2);
  EXPECT_FALSE(crash->pending);
  const auto saved = foundation::KeyedUnarchiver::unarchiveValueWithFile(paths.savedSessions());
  ASSERT_TRUE(saved && saved->array() && saved->array()->size() == 2);
  EXPECT_FALSE(recordMentions(*saved->array()->at(0).bytes(), report));
  EXPECT_TRUE(recordMentions(*saved->array()->at(1).bytes(), report));
}

TEST_F(TallixAgentTest, LoggedErrorsCarryALiveReportWhileCrashReportingIsOn) {
  agent.setCrashReportingEnabled(true);
  agent.startSession(kApiKey);
  agent.logError("E1", "with report", std::error_code());
  crash->liveFails = true;
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  agent.logError("E2", "report failed", std::make_exception_ptr(std::runtime_error("lost")));
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(
                "TallixSession: Failed to generate crash report: threads not stopped"),
            std::string::npos);
  crash->liveFails = false;
  agent.setCrashReportingEnabled(false);
  agent.logError("E3", "reporting off", std::error_code());

  const auto errors = savedSession()->fields().errors;
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_EQ(errors[0]->reportData(), crash->liveReport);
  EXPECT_TRUE(errors[1]->reportData().empty());
  EXPECT_TRUE(errors[2]->reportData().empty());
}

}  // namespace
}  // namespace tallix
