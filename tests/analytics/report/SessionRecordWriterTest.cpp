#include <gtest/gtest.h>

#include <map>

#include "analytics/core/report/TallixSessionRecordWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "tests/analytics/FixedClock.h"
#include "tests/analytics/report/SessionDraft.h"

namespace tallix {
namespace {

using foundation::Date;
using foundation::Value;
using Bytes = Value::Bytes;

const Date kStart = Date::fromTimeIntervalSince1970(1700000000);

// Where two records of the same length differ: position -> (first byte, second byte).
std::map<std::size_t, std::pair<int, int>> differences(const Bytes& first, const Bytes& second) {
  std::map<std::size_t, std::pair<int, int>> found;
  for (std::size_t at = 0; at < std::min(first.size(), second.size()); ++at) {
    if (first[at] != second[at])
      found[at] = {first[at], second[at]};
  }
  return found;
}

Bytes tail(const Bytes& data, std::size_t size) {
  return Bytes(data.end() - static_cast<std::ptrdiff_t>(size), data.end());
}

class SessionRecordWriterTest : public ::testing::Test {
 protected:
  SessionRecordWriterTest() { draft_.fields.startTime = kStart; }

  std::shared_ptr<TallixSession> session() {
    auto session = draft_.session();
    EXPECT_TRUE(session);
    return session;
  }
  void addErrors(std::initializer_list<int> ids) {
    for (int id : ids) {
      draft_.fields.errors.push_back(std::make_shared<TallixError>(
          id, Date::fromTimeIntervalSince1970(id), "", "", "", TallixError::ErrorObject, Bytes{}));
    }
    draft_.fields.totalErrorCount = static_cast<int>(ids.size());
  }

  TallixGlobalVariableStorage storage_{"1.0"};
  FixedClock clock_{kStart.dateByAddingTimeInterval(1)};
  TallixTrackedProperties tracked_{storage_.persistentGlobalsMap()};
  TallixSessionRecordWriter writer_{storage_, clock_, tracked_};
  SessionDraft draft_;
};

TEST_F(SessionRecordWriterTest, SessionRecordHoldsEveryFieldInOrder) {
  storage_.update([](TallixSettings& settings) {
    settings.backgroundSessionEnabled = true;
    settings.appApplicationState = 2;
    settings.sessionOriginName = "mail";
    settings.sessionParameters = Value::Dictionary{{"plan", "pro"}};
  });
  TallixSessionFields& fields = draft_.fields;
  fields.appVersion = "1.2";
  fields.endTime = kStart.dateByAddingTimeInterval(2.5);
  fields.totalPauseIntervalMillis = 300;
  fields.sessionPropertyParams = Value::Dictionary{{"old", 1}};
  fields.sessionParams = {{"boot.time", "5"}};
  fields.locale = "en_GB";
  fields.timeZone = "UTC";
  fields.userID = "u";
  fields.latitude = 51.5;
  fields.longitude = -0.125;
  fields.accuracy = 5.5f;
  fields.pageViewCount = 3;
  fields.gender = 1;
  fields.age = Date::fromTimeIntervalSince1970(504921600);
  draft_.eventLog.put(std::make_shared<TallixEvent>("a", false, Value(), kStart, 1), true);
  fields.errors.push_back(
      std::make_shared<TallixError>(1, kStart, "E", "", "", TallixError::ErrorObject, Bytes{}));
  fields.totalErrorCount = 1;
  TallixSessionRecordWriter writer(
      storage_, clock_, tracked_, [] { return 1; }, [] { return true; });
  auto reported = session();

  EXPECT_EQ(writer.data(*reported),
            (Bytes{0x00, 0x07,                                      // 1 record version
                   0x00, 0x03, '1',  '.',  '2',                     // 2 application version
                   0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0x00,  // 3 start
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x09, 0xC4,  // 4 length 2500
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x2C,  // 5 pause 300
                   0x01,                                            // 6 background
                   0x02,                                            // 7 state
                   0x01, 0x00, 0x04, 'm',  'a',  'i',  'l',         // 8, 9 origin
                   0x00,                                            // 10 no deep link
                   0x00, 0x01,                                      // 12 properties
                   0x00, 0x04, 'p',  'l',  'a',  'n',  0x00, 0x03, 'p',  'r', 'o',  // 13
                   0x00, 0x03,                                                      // 14 parameters
                   0x00, 0x09, 'b',  'o',  'o',  't',  '.',  't',  'i',  'm', 'e',  // 15
                   0x00, 0x01, '5',  0x00,                                          //
                   0x00, 0x10, 'd',  'e',  'f',  'a',  'u',  'l',  't',  '.', 't',  'i',
                   'm',  'e',  'z',  'o',  'n',  'e',  0x00, 0x03, 'U',  'T', 'C',  0x01,  //
                   0x00, 0x0D, 'd',  'e',  'v',  'i',  'c',  'e',  '.',  'l', 'o',  'c',
                   'a',  'l',  'e',  0x00, 0x05, 'e',  'n',  '_',  'G',  'B', 0x01,  //
                   0x00, 0x05, 'e',  'n',  '_',  'G',  'B',                          // 16 locale
                   0x00, 0x03, 'U',  'T',  'C',                                      // 17 time zone
                   0x01,                                                  // 18 network status
                   0x02,                                                  // 19 landscape
                   0x00, 0x01, 'u',                                       // 20 user id
                   0x01,                                                  // 21 has location
                   0x40, 0x49, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00,        // 22 latitude
                   0xBF, 0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,        // 23 longitude
                   0x40, 0xB0, 0x00, 0x00,                                // 24 accuracy
                   0x00, 0x00, 0x00, 0x03,                                // 25 page views
                   0xFF, 0x00,                                            // 26, 27
                   0x01,                                                  // 28 gender
                   0x01,                                                  // 29 has age
                   0x00, 0x00, 0x00, 0x75, 0x8F, 0xAC, 0x30, 0x00,        // 30 1986
                   0x00, 0x01,                                            // 31 event names
                   0x00, 0x01, 'a',  0x00, 0x00, 0x00, 0x01,              // 32
                   0x00, 0x01,                                            // 33 events
                   0x00, 0x01, 0x00, 0x01, 'a',  0x00, 0x00,              // 34
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,        //
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,        //
                   0x01,                                                  // 35 log complete
                   0x00, 0x00, 0x00, 0x01,                                // 36 total errors
                   0x00, 0x01,                                            // 37 errors
                   0x00, 0x01,                                            // 38
                   0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0x00,        //
                   0x00, 0x01, 'E',  0x00, 0x00, 0x00, 0x00, 0x01, 0x00,  //
                   0x00, 0x00, 0x00, 0x00,                                // 40
                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00}));                 // 41-43
}

TEST_F(SessionRecordWriterTest,
       ReportedSettingsAreKeptInTheSessionAndEmptyGlobalPropertiesLeaveItsOwn) {
  draft_.fields.sessionPropertyParams = Value::Dictionary{{"own", "yes"}};
  draft_.fields.locale = "de_DE";
  auto reported = session();
  ASSERT_TRUE(writer_.data(*reported));
  EXPECT_EQ(reported->fields().sessionPropertyParams, Value(Value::Dictionary{{"own", "yes"}}));

  storage_.update([](TallixSettings& settings) {
    settings.appApplicationState = 1;
    settings.deepLinkName = "orvane://talk";
    settings.sessionParameters = Value::Dictionary{{"plan", "pro"}};
  });
  ASSERT_TRUE(writer_.data(*reported));
  const TallixSessionFields& fields = reported->fields();
  EXPECT_EQ(fields.appApplicationState, 1);
  EXPECT_EQ(fields.deepLinkName, "orvane://talk");
  EXPECT_EQ(fields.sessionPropertyParams, Value(Value::Dictionary{{"plan", "pro"}}));
  EXPECT_EQ(fields.sessionParams.at("device.locale"), "de_DE");
  EXPECT_TRUE(fields.sessionParams.contains("default.timezone"));
}

TEST_F(SessionRecordWriterTest, TrackedParametersAreChangedOnlyInTheirFirstReport) {
  auto reported = session();
  const auto first = writer_.data(*reported);
  const auto second = writer_.data(*reported);
  ASSERT_TRUE(first && second);
  ASSERT_EQ(first->size(), second->size());
  // The locale's and the time zone's changed bytes, and nothing else.
  const auto changed = differences(*first, *second);
  ASSERT_EQ(changed.size(), 2u);
  for (const auto& [at, bytes] : changed)
    EXPECT_EQ(bytes, std::make_pair(1, 0)) << "at " << at;
}

TEST_F(SessionRecordWriterTest, WithoutEndLengthIsMinusOneAndWithoutSourcesNetworkUnknownPortrait) {
  TallixSessionRecordWriter withSources(
      storage_, clock_, tracked_, [] { return 2; }, [] { return true; });
  auto first = session();
  auto second = session();
  // Tracked properties are reported once first, so both records see them as already known.
  ASSERT_TRUE(writer_.data(*first));
  const auto plain = writer_.data(*first);
  const auto sourced = withSources.data(*second);
  ASSERT_TRUE(plain && sourced);
  // After the version, an empty application version and the start.
  EXPECT_EQ(Bytes(plain->begin() + 12, plain->begin() + 20), Bytes(8, 0xFF));
  const auto changed = differences(*plain, *sourced);
  ASSERT_EQ(changed.size(), 2u);
  EXPECT_EQ(changed.begin()->second, std::make_pair(0, 2));
  EXPECT_EQ(std::next(changed.begin())->second, std::make_pair(1, 2));
}

// The logged ids are reported as 16 bits (0x10002 as 2), and the crash follows the largest
// of those, not of the ids as logged.
TEST_F(SessionRecordWriterTest, CrashIsReportedAsOneMoreErrorAfterTheLargestReportedId) {
  addErrors({1, 0x10002, 3});
  draft_.fields.crashReportData = Bytes{0xC0, 0xDE};
  auto reported = session();
  const auto data = writer_.data(*reported);
  ASSERT_TRUE(data);
  const Bytes expected{
      0x00, 0x00, 0x00, 0x04,                                       // total errors 3 + 1
      0x00, 0x04,                                                   // error count 3 + 1
      0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0xE8,   // id 1, time
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00,               // strings, type, no report
      0x00, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0xE8, 0x07, 0xD0,   //
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00,               //
      0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0B, 0xB8,   //
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x00,               //
      0x00, 0x04, 0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x6B, 0xE8,   // crash: id 4, the clock's now
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03, 0x01,               // strings, type 3, report
      0x00, 0x00, 0x00, 0x02, 0xC0, 0xDE,                           //
      0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};  // reserved
  EXPECT_EQ(tail(*data, expected.size()), expected);
}

TEST_F(SessionRecordWriterTest, LogWithAnEmptySlotGivesNoRecordAndChangesNothing) {
  auto reported = session();
  reported->mutableFields().errors.push_back(nullptr);
  storage_.update([](TallixSettings& settings) { settings.appApplicationState = 2; });
  EXPECT_EQ(writer_.data(*reported), std::nullopt);
  EXPECT_EQ(reported->fields().appApplicationState, draft_.fields.appApplicationState);
  EXPECT_TRUE(reported->fields().sessionParams.empty());
  EXPECT_TRUE(storage_.persistentGlobalsMap().entries().empty());
}

}  // namespace
}  // namespace tallix
