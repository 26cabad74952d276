#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/core/support/TallixLog.h"
#include "tallix/Tallix.h"
#include "tallix/TallixWatch.h"
#include "tests/analytics/core/AgentTestSupport.h"

namespace tallix {
namespace {

std::string printed(const std::function<void()>& work, int level = TallixLog::kRefusalLevel) {
  TallixLog::setLogLevel(level);
  testing::internal::CaptureStdout();
  work();
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  return testing::internal::GetCapturedStdout();
}

TEST(TallixFacadeTest, AnOptedOutUserIsRefusedEverythingButTheWayBack) {
  Tallix::setTallixOptOut(true);
  EXPECT_TRUE(Tallix::hasUserOptedOut());
  EventRecordResult result = EventRecordResult::Recorded;
  const std::string output = printed([&] {
    result = Tallix::logEvent("refused");
    Tallix::setUserID("someone");
    Tallix::logAllPageViewsForTarget(nullptr);
    Tallix::logAllPageViews(nullptr);
    Tallix::logPageView();
    Tallix::stopLogPageViewsForTarget(nullptr);
  });
  EXPECT_EQ(result, EventRecordResult::Invalid);
  EXPECT_EQ(output,
            "Tallix: +[Tallix logEvent:withParameters:timed:] disabled.\n"
            "Tallix: +[Tallix setUserID:] disabled.\n"
            "Tallix: logAllPageViews disabled.\n"
            "Tallix: +[Tallix logAllPageViews:] disabled.\n"
            "Tallix: +[Tallix logPageView] disabled.\n");
  Tallix::setTallixOptOut(false);
  EXPECT_FALSE(Tallix::hasUserOptedOut());
  EXPECT_EQ(Tallix::getTallixAgentVersion(), "155");
}

// An extension logs through TallixWatch: the application's own logging calls are refused there,
// after the user's choice.
TEST(TallixFacadeTest, InAnExtensionTheApplicationsLoggingCallsAreRefused) {
  auto extension = std::make_shared<TestApplication>("");
  extension->watchExtension = true;
  Tallix::setApplication(extension);
  std::vector<EventRecordResult> results;
  const std::string output = printed([&] {
    results.push_back(Tallix::logEvent("talk"));
    results.push_back(Tallix::logEvent("talk", true));
    Tallix::logError("E1", "broken", std::exception_ptr());
    Tallix::logError("E1", "broken", std::error_code());
    Tallix::logAllPageViewsForTarget(nullptr);
    Tallix::logAllPageViews(nullptr);
    Tallix::logPageView();
    Tallix::setTallixOptOut(true);
    Tallix::logPageView();
    Tallix::setTallixOptOut(false);
  });
  // Without the shipped key the extension's own facade refuses too (the key is looked for once
  // per process, so its line is not among those above).
  results.push_back(TallixWatch::logWatchEvent("talk"));
  Tallix::setApplication(nullptr);
  EXPECT_EQ(results, std::vector<EventRecordResult>(3, EventRecordResult::Invalid));
  EXPECT_EQ(output,
            "Tallix: Event not logged -- this method cannot be used in watch extension.\n"
            "Tallix: Event not logged -- this method cannot be used in watch extension.\n"
            "Tallix: Error not logged -- this method cannot be used in watch extension.\n"
            "Tallix: Error not logged -- this method cannot be used in watch extension.\n"
            "Tallix: logAllPageViews disabled -- this method cannot be used in watch extension.\n"
            "Tallix: logAllPageViews disabled -- this method cannot be used in watch extension.\n"
            "Tallix: logPageView disabled -- this method cannot be used in watch extension.\n"
            "Tallix: +[Tallix logPageView] disabled.\n");
}

// Refusals print at any level above 0, everything else, caught exceptions included, at debug.
TEST(TallixFacadeTest, OnlyRefusalsPrintBelowTheDebugLevelAndCaughtFailuresAreDescribed) {
  EXPECT_EQ(printed([] { Tallix::logEvent(""); }),
            "Tallix: Event not logged -- eventName may not be empty.\n");
  EXPECT_EQ(printed([] { Tallix::logEvent(""); }, 0), "");
  EXPECT_EQ(printed([] { Tallix::setAppVersion("3.1"); }), "");
  EXPECT_EQ(printed([] { Tallix::setAppVersion("3.1"); }, TallixLog::kDebugLevel),
            "Tallix: setAppVersion[3.1]\n");

  const std::string exception = printed(
      [] { TallixExceptionHandler::guarded([] { throw std::invalid_argument("bad key"); }); },
      TallixLog::kDebugLevel);
  EXPECT_EQ(exception,
            "Tallix: Caught Exception in Tallix Analytics Code\n"
            "Tallix: -----------------------------------------\n"
            "Tallix: Name:std::invalid_argument Reason:bad key\n"
            "Tallix: std::invalid_argument: bad key\n");
  const std::string error = printed(
      [] {
        TallixExceptionHandler::guarded(
            [] { throw std::system_error(std::make_error_code(std::errc::io_error)); });
      },
      TallixLog::kDebugLevel);
  EXPECT_NE(error.find("Tallix: Caught Error in Tallix Analytics Code"), std::string::npos);
  EXPECT_NE(error.find("Tallix: Code:5 Domain:generic"), std::string::npos);
}

// The facade's own values reach the agent with their kinds and entries intact.
TEST(TallixFacadeTest, ValuesKeepTheirKindsOnTheWayIn) {
  TallixValue::Dictionary eleven;
  for (int i = 0; i < 11; ++i)
    eleven.emplace(std::to_string(i), i);
  const std::string output = printed([&] {
    EXPECT_EQ(Tallix::logEvent(3), EventRecordResult::Invalid);
    EXPECT_EQ(Tallix::logEvent("Talk", TallixValue::Array{"monster"}), EventRecordResult::Invalid);
    EXPECT_EQ(Tallix::logEvent("Talk", eleven), EventRecordResult::TooManyParameters);
    EXPECT_EQ(Tallix::logEvent("Talk", {{"effect", "monster"}, {"pitch", -600.5}}),
              EventRecordResult::Deferred);
  });
  EXPECT_EQ(output,
            "Tallix: Event not logged -- eventName must be of NSString type.\n"
            "Tallix: Event not logged -- parameters may not contain more than 10 elements.\n");
}

}  // namespace
}  // namespace tallix
