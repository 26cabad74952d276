#include <gtest/gtest.h>

#include <string>

#include "AgentTestSupport.h"
#include "analytics/core/session/TallixSession.h"
#include "analytics/core/support/TallixLog.h"
#include "foundation/AtomicFile.h"
#include "foundation/KeyedArchiver.h"

namespace tallix {
namespace {

using foundation::Value;

Value parameters(int count) {
  Value::Dictionary entries;
  for (int i = 0; i < count; ++i)
    entries.emplace("key" + std::to_string(i), i);
  return Value(std::move(entries));
}

class TallixSessionTest : public ::testing::Test {
 protected:
  EventRecordResult record(const std::string& name, const Value& params = {}, bool timed = false) {
    return harness.run([&] { return session->recordEvent(name, params, timed); });
  }

  SessionHarness harness;
  std::shared_ptr<TallixSession> session = harness.newSession();
};

// Every refusal marks the log incomplete; counting goes on for known names past the log.
TEST_F(TallixSessionTest, LimitsRefuseOrOnlyCountAndMarkTheLogIncomplete) {
  EXPECT_EQ(record("ten", parameters(10)), EventRecordResult::Recorded);
  EXPECT_TRUE(session->eventLog().complete());
  EXPECT_EQ(record("eleven", parameters(11)), EventRecordResult::TooManyParameters);
  EXPECT_FALSE(session->eventLog().complete());
  EXPECT_EQ(record(""), EventRecordResult::Invalid);
  EXPECT_EQ(harness.run([&] { return session->recordEvent(Value(), {}, false); }),
            EventRecordResult::Invalid);
  EXPECT_FALSE(session->eventLog().counts().contains("eleven"));

  for (int i = 1; i < 100; ++i)
    ASSERT_EQ(record("name" + std::to_string(i)), EventRecordResult::Recorded);
  EXPECT_EQ(record("name100"), EventRecordResult::LogFullOrDisabled);
  EXPECT_FALSE(session->eventLog().counts().contains("name100"));
  for (int i = 0; i < 900; ++i)
    ASSERT_EQ(record("name7"), EventRecordResult::Recorded);
  EXPECT_EQ(record("name7"), EventRecordResult::LogFullOrDisabled);
  EXPECT_EQ(session->eventLog().events().size(), 1000u);
  EXPECT_EQ(session->eventLog().counts().at("name7"), 902);
  // Events only counted follow the same name limit.
  harness.run([&] {
    session->countEvents("name7", 5);
    session->countEvents("name100", 5);
  });
  EXPECT_EQ(session->eventLog().counts().at("name7"), 907);
  EXPECT_FALSE(session->eventLog().counts().contains("name100"));

  harness.run([&] {  // errors past ten are counted, not logged
    for (int i = 0; i < 11; ++i)
      session->recordErrorWithException("E" + std::to_string(i), "boom", std::nullopt, {});
  });
  EXPECT_EQ(session->fields().totalErrorCount, 11);
  ASSERT_EQ(session->fields().errors.size(), 10u);
  EXPECT_EQ(session->fields().errors.back()->errorID(), 10);
  EXPECT_EQ(session->fields().errors.front()->exceptionString(), "nil");
  EXPECT_EQ(session->totalEventCount(), 10 + 1 + 98 + 907);
}

// The application ends the first open event of a name, merging parameters within the limit;
// every pause ends the others again at its time, but never one the application ended.
TEST_F(TallixSessionTest, TimedEventsEndByTheApplicationOnceOrByEveryPause) {
  session->setSessionReportsOnPauseEnabled(false);
  record("upload", parameters(9), true);
  record("upload", {}, true);
  record("open", {}, true);
  harness.clock.advance(2.5);
  harness.run([&] {
    session->endTimedEvent("upload",
                           Value(Value::Dictionary{{"size", 42}, {"bad", Value(Value::Array{})}}));
  });
  const auto& events = session->eventLog().events();
  EXPECT_TRUE(events[1]->isUnterminated());
  const Value merged = events[0]->parameters();
  EXPECT_EQ(merged.dictionary()->size(), 10u);
  EXPECT_EQ(*merged.find("size"), Value(42));
  EXPECT_EQ(merged.find("bad"), nullptr);
  harness.run([&] { session->endTimedEvent("upload", parameters(11)); });
  EXPECT_TRUE(events[1]->parameters().dictionary()->empty());

  harness.clock.advance(0.5);
  harness.run([&] { session->pauseSession(); });
  EXPECT_TRUE(events[2]->automaticallyEnded());
  EXPECT_EQ(events[2]->duration(), 3000);
  harness.clock.advance(4);
  harness.run([&] { session->resumeSession(); });
  EXPECT_EQ(session->fields().totalPauseIntervalMillis, 4000);
  harness.clock.advance(5);
  harness.run([&] { session->pauseSession(); });
  EXPECT_EQ(events[2]->duration(), 12000);
  EXPECT_EQ(events[0]->duration(), 2500);
  EXPECT_FALSE(events[1]->automaticallyEnded());
}

TEST_F(TallixSessionTest, EventsLoggedWhilePausedJoinTheLogOnResumeOrTheNextSession) {
  harness.run([&] { session->pauseSession(); });
  EXPECT_EQ(record("resumed"), EventRecordResult::Deferred);
  EXPECT_TRUE(session->eventLog().events().empty());
  harness.run([&] { session->resumeSession(); });
  EXPECT_TRUE(session->eventLog().pending().empty());

  harness.run([&] { session->pauseSession(); });
  harness.clock.advance(1);
  record("before return");
  harness.clock.advance(0.5);
  harness.run([&] { session->markSessionAsResuming(); });
  harness.clock.advance(1);
  record("after return");
  harness.clock.advance(30);
  const auto next = harness.run([&] {
    harness.counters.resetAll();
    session->archiveSession();
    return harness.factory.sessionWithNewEventsWithApiKey(*session, SessionHarness::kApiKey,
                                                          harness.clock.now(), {});
  });
  ASSERT_EQ(session->eventLog().events().size(), 2u);
  EXPECT_EQ(session->eventLog().events()[0]->name(), "resumed");
  EXPECT_EQ(session->eventLog().events()[1]->name(), "before return");
  ASSERT_EQ(next->eventLog().events().size(), 1u);
  EXPECT_EQ(next->eventLog().events()[0]->name(), "after return");
  EXPECT_EQ(next->eventLog().events()[0]->eventLogId(), 1);
  EXPECT_EQ(next->fields().startTime, next->eventLog().events()[0]->started());
}

TEST_F(TallixSessionTest, AgeAndLocationFollowTheirRules) {
  harness.run([&] { session->setAgeInYears(0); });
  harness.run([&] { session->setAgeInYears(151); });
  EXPECT_FALSE(session->fields().age);
  harness.run([&] { session->setAgeInYears(30); });
  ASSERT_TRUE(session->fields().age);
  const auto birth = static_cast<std::time_t>(session->fields().age->timeIntervalSince1970());
  std::tm parts{};
  localtime_r(&birth, &parts);
  EXPECT_EQ(parts.tm_year + 1900, 2026 - 30);
  EXPECT_EQ(parts.tm_yday, 0);
  EXPECT_EQ(parts.tm_hour, 0);

  harness.run([&] { session->setLatitude(52.5200999, -13.4049999, -10.0, 5.0009); });
  EXPECT_DOUBLE_EQ(session->fields().latitude, 52.52);
  EXPECT_DOUBLE_EQ(session->fields().longitude, -13.404);
  EXPECT_FLOAT_EQ(session->fields().accuracy, 7.5f);
}

TEST_F(TallixSessionTest, ArchiveReadsBackFieldForField) {
  record("open", parameters(2), true);
  harness.run([&] {
    session->recordErrorWithError("E1", "disk", std::make_error_code(std::errc::no_space_on_device),
                                  {});
    session->setUserID("user-7");
    session->setGenderAsString("f");
    session->pauseSession();
  });
  const auto copy = harness.readCurrentSessionFile();
  ASSERT_TRUE(copy);
  const auto& fields = copy->fields();
  EXPECT_EQ(fields.startTime, session->fields().startTime);
  EXPECT_EQ(fields.pauseTime, session->fields().pauseTime);
  EXPECT_EQ(fields.userID, "user-7");
  EXPECT_EQ(fields.gender, 0);
  EXPECT_EQ(fields.locale, "de_DE");
  EXPECT_EQ(fields.sessionParams.at("cpu.load.end"), "0.50");
  ASSERT_EQ(fields.errors.size(), 1u);
  EXPECT_EQ(fields.errors[0]->errorType(), TallixError::ErrorObject);
  ASSERT_EQ(copy->eventLog().events().size(), 1u);
  EXPECT_EQ(copy->eventLog().events()[0]->parameters(), parameters(2));
  EXPECT_TRUE(copy->eventLog().events()[0]->automaticallyEnded());
}

// The list is read once: a damaged entry is left out, and later changes are written from
// memory, so what the file held meanwhile does not come back.
TEST_F(TallixSessionTest, SavedSessionsAreReadOnceWithoutDamagedEntriesAndKeepTheNewestFifty) {
  const auto path = harness.paths.savedSessions();
  foundation::KeyedArchiver::archiveRootValue(
      Value(Value::Array{Value(Value::Bytes{1}), Value(5), Value(Value::Bytes{2})}), path);
  TallixSavedSessions saved(path, harness.settings,
                            [&](TallixSession& s) { return harness.reporter.recordOf(s); });
  EXPECT_EQ(saved.savedSessions(), (std::vector<Value::Bytes>{{1}, {2}}));
  foundation::AtomicFile::write(path, "damaged");

  harness.settings.update([](TallixSettings& settings) { settings.maxSessionsSaved = 50; });
  std::vector<Value::Bytes> records;
  for (int i = 0; i < 51; ++i) {
    harness.run([&] {
      session->setUserID("user" + std::to_string(i));
      saved.addToSavedSessions(*session);
    });
    records.push_back(*harness.run([&] { return harness.reporter.recordOf(*session); }));
    if (i == 0) {  // written from memory, not from the damaged file
      EXPECT_EQ(TallixSavedSessions(path, harness.settings, {}).savedSessions().size(), 3u);
    }
  }
  const auto reread = TallixSavedSessions(path, harness.settings, {}).savedSessions();
  ASSERT_EQ(reread.size(), 50u);
  EXPECT_EQ(reread.front(), records[1]);  // {1}, {2} and the first record went first
  EXPECT_EQ(reread.back(), records[50]);
  EXPECT_EQ(saved.savedSessions(), reread);
}

// Every request carries all origins, so they are capped, and say what they drop.
TEST_F(TallixSessionTest, OriginsStopAtTheirCapWithADebugLine) {
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  for (std::size_t i = 0; i <= TallixGlobalVariableStorage::kMaxOriginSets; ++i)
    harness.settings.recordOrigin("origin" + std::to_string(i), "1.0", {});
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(
                "Tallix: origin sets full, origin [origin32] dropped"),
            std::string::npos);
  EXPECT_EQ(harness.settings.settings().originSets.size(),
            TallixGlobalVariableStorage::kMaxOriginSets);
}

TEST_F(TallixSessionTest, ALeftoverSessionFileIsReportedWhenTheNextSessionStarts) {
  record("left behind");
  harness.run([&] { harness.saver.flush(); });
  const auto next = harness.newSession();
  EXPECT_EQ(harness.saved.savedSessions().size(), 1u);
  EXPECT_TRUE(next->eventLog().events().empty());

  foundation::AtomicFile::write(harness.paths.currentSession(), "{\"class\": \"Other\"}");
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  harness.newSession();
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  EXPECT_NE(testing::internal::GetCapturedStdout().find("unreadable, discarded"),
            std::string::npos);
  EXPECT_EQ(harness.saved.savedSessions().size(), 1u);
}

// The last run left its session and, if it crashed, a report. The report goes with that
// session only while crash reporting is on, and is then gone even when it could not be read.
TEST_F(TallixSessionTest, ALeftoverSessionTakesThePendingCrashReportWhileCrashReportingIsOn) {
  const std::string report = "tlxcrsh\x01 crashed thread";
  const Value::Bytes reportBytes(report.begin(), report.end());
  FakeCrashCapture& crash = *harness.crash;
  const auto leaveAndStartNext = [&] {
    harness.run([&] { harness.saver.flush(); });
    session = harness.newSession();
    return harness.reported.back();
  };
  crash.pending = reportBytes;
  EXPECT_FALSE(leaveAndStartNext().crashed);
  EXPECT_EQ(crash.pending, reportBytes);
  EXPECT_EQ(crash.loads, 0);

  harness.settings.update([](TallixSettings& settings) { settings.crashReportingEnabled = true; });
  const TallixSessionFields crashed = leaveAndStartNext();
  EXPECT_TRUE(crashed.crashed);
  EXPECT_EQ(crashed.crashReportData, reportBytes);
  EXPECT_FALSE(crash.pending);
  EXPECT_TRUE(recordMentions(harness.saved.savedSessions().back(), report));

  EXPECT_FALSE(leaveAndStartNext().crashed);

  crash.pending = reportBytes;
  crash.loadFails = true;
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  const TallixSessionFields unread = leaveAndStartNext();
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  EXPECT_NE(testing::internal::GetCapturedStdout().find(
                "TallixSession: Could not load crash report data: truncated report"),
            std::string::npos);
  EXPECT_TRUE(unread.crashed);
  EXPECT_FALSE(unread.crashReportData);
  EXPECT_FALSE(crash.pending);
  EXPECT_EQ(harness.saved.savedSessions().size(), 4u);
}

}  // namespace
}  // namespace tallix
