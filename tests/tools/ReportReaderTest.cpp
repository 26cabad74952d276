#include <gtest/gtest.h>

#include <cstdio>

#include "analytics/core/report/TallixSessionRecordWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "tests/analytics/FixedClock.h"
#include "tests/analytics/crash/format/TallixCrashReportBuilder.h"
#include "tests/analytics/report/SessionDraft.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/TestRequestBody.h"
#include "tools/tallix-collector/TallixJsonValues.h"
#include "tools/tallix-collector/TallixReportReader.h"
#include "tools/tallix-collector/TallixReportRejected.h"

namespace tallix {
namespace {

using foundation::Date;
using foundation::Value;
using Bytes = Value::Bytes;

const Date kStart = Date::fromTimeIntervalSince1970(1700000000);

TallixJson read(const Bytes& body) {
  return TallixReportReader::read(body);
}

std::string repeated(std::string_view piece, int times) {
  std::string out;
  for (int i = 0; i < times; ++i)
    out += piece;
  return out;
}

std::string rejection(const Bytes& body) {
  try {
    TallixReportReader::read(body);
  } catch (const TallixReportRejected& rejected) {
    return rejected.what();
  }
  return "<accepted>";
}

class ReportReaderTest : public ::testing::Test {
 protected:
  ReportReaderTest() { draft_.fields.startTime = kStart; }

  Bytes record() {
    auto session = draft_.session();
    EXPECT_TRUE(session);
    const auto data = writer_.data(*session);
    EXPECT_TRUE(data);
    return data.value_or(Bytes{});
  }
  void logEverything();

  TallixGlobalVariableStorage storage_{"1.0"};
  FixedClock clock_{kStart.dateByAddingTimeInterval(1)};
  TallixTrackedProperties tracked_{storage_.persistentGlobalsMap()};
  TallixSessionRecordWriter writer_{storage_, clock_, tracked_, [] { return 1; },
                                    [] { return true; }};
  SessionDraft draft_;
  TestRequestBody body_;
};

void ReportReaderTest::logEverything() {
  storage_.update([](TallixSettings& settings) {
    settings.backgroundSessionEnabled = true;
    settings.appApplicationState = 2;
    settings.sessionOriginName = "mail";
    settings.deepLinkName = "orvane://talk";
    settings.sessionParameters = Value::Dictionary{{"plan", "pro"}};
  });
  TallixSessionFields& fields = draft_.fields;
  fields.appVersion = "3.0";
  fields.endTime = kStart.dateByAddingTimeInterval(10);
  fields.totalPauseIntervalMillis = 250;
  fields.sessionParams = {{"boot.time", "5"}};
  fields.locale = "en_GB";
  fields.timeZone = "Europe/London";
  fields.userID = "user-7";
  fields.latitude = 51.5;
  fields.longitude = -0.125;
  fields.accuracy = 5.5f;
  fields.pageViewCount = 4;
  fields.gender = 0;
  fields.age = Date::fromTimeIntervalSince1970(504921600);
  auto talk = std::make_shared<TallixEvent>(
      "talk", true, Value::Dictionary{{"effect", "monster"}, {"loud", true}, {"takes", 3}},
      kStart.dateByAddingTimeInterval(1.5), 1);
  // As ending a timed event merges its parameters.
  talk->updateParameters(Value::Dictionary{{"muted", false}});
  talk->end(kStart.dateByAddingTimeInterval(4));
  draft_.eventLog.put(talk, true);
  draft_.eventLog.put(
      std::make_shared<TallixEvent>("beep", false, Value(), kStart.dateByAddingTimeInterval(2), 2),
      true);
  fields.errors.push_back(std::make_shared<TallixError>(1, kStart.dateByAddingTimeInterval(3),
                                                        "E42", "disk full", "",
                                                        TallixError::ErrorObject, Bytes{}));
  fields.errors.push_back(std::make_shared<TallixError>(2, kStart.dateByAddingTimeInterval(5), "",
                                                        "", "std::bad_alloc",
                                                        TallixError::Exception, Bytes{0x01, 0x02}));
  fields.totalErrorCount = 5;
  fields.crashReportData = TallixCrashReportBuilder().bytes();
}

TEST_F(ReportReaderTest, BodyFieldsComeBackAsWritten) {
  body_.sessions = {record()};
  const Bytes body = body_.build();
  const TallixJson report = read(body);
  const json_t* json = report.get();

  char crc[11];
  std::snprintf(crc, sizeof crc, "0x%08lX", crc32(0L, body.data(), body.size() - 4));
  EXPECT_EQ(jsonText(json, "crc32"), crc);
  for (std::size_t at = 0; const int value : {31, 4, 1, 0, 0})
    EXPECT_EQ(jsonInteger(json, "body/fixedHeader/" + std::to_string(at++)), value);
  EXPECT_EQ(jsonInteger(json, "body/deviceKind"), 2);
  EXPECT_EQ(jsonInteger(json, "body/agentVersion"), 155);
  EXPECT_EQ(jsonInteger(json, "body/writtenAt/ms"), TestRequestBody::kWrittenMs);
  EXPECT_EQ(jsonText(json, "body/writtenAt/utc"), "2023-11-14T22:15:00.000Z");
  EXPECT_EQ(jsonText(json, "body/apiKey"), "ORVANE-KEY");
  EXPECT_EQ(jsonText(json, "body/applicationVersion"), "2.1");
  EXPECT_EQ(jsonInteger(json, "body/agentKind"), 1);
  EXPECT_EQ(jsonText(json, "body/deviceIds/tallixId"), "tallix-id");
  EXPECT_EQ(jsonText(json, "body/deviceIds/identifierForVendor"), "vendor-id");
  EXPECT_EQ(jsonText(json, "body/deviceIds/hardwareId/base64"), "q83v");
  EXPECT_TRUE(json_is_true(jsonAt(json, "body/sentReportSuccessful")));
  EXPECT_TRUE(json_is_false(jsonAt(json, "body/adTrackingEnabled")));
  EXPECT_EQ(jsonInteger(json, "body/initialTimestamp/ms"), TestRequestBody::kInitialMs);
  EXPECT_EQ(jsonInteger(json, "body/currentSessionStart/ms"), TestRequestBody::kSessionStartMs);
  EXPECT_EQ(jsonText(json, "body/deviceProperties/1/key"), "scr.width");
  EXPECT_EQ(jsonText(json, "body/deviceProperties/1/value"), "1920");
  EXPECT_TRUE(json_is_true(jsonAt(json, "body/deviceProperties/0/changed")));
  EXPECT_TRUE(json_is_false(jsonAt(json, "body/deviceProperties/1/changed")));
  EXPECT_EQ(jsonText(json, "body/launchOptions/0/key"), "url");
  EXPECT_EQ(jsonText(json, "body/launchOptions/0/values/1"), "second");
  EXPECT_EQ(jsonText(json, "body/origins/0/originName"), "mail");
  EXPECT_EQ(jsonText(json, "body/origins/0/entries/0/value"), "spring");
  EXPECT_EQ(jsonText(json, "body/bundleIdentifier"), "org.orvane.Orvane");
  EXPECT_EQ(json_array_size(jsonAt(json, "body/sessions")), 1u);
  EXPECT_EQ(jsonText(json, "body/cookies/0/key"), "srv");
  EXPECT_EQ(jsonText(json, "body/cookies/0/value"), "abc");
}

TEST_F(ReportReaderTest, SessionFieldsComeBackAsLogged) {
  logEverything();
  body_.sessions = {record()};
  const TallixJson report = read(body_.build());
  const json_t* session = jsonAt(report.get(), "body/sessions/0");

  EXPECT_EQ(jsonInteger(session, "recordVersion"), 7);
  EXPECT_EQ(jsonText(session, "applicationVersion"), "3.0");
  EXPECT_EQ(jsonText(session, "sessionStart/utc"), "2023-11-14T22:13:20.000Z");
  EXPECT_EQ(jsonInteger(session, "sessionLength"), 10000);
  EXPECT_EQ(jsonInteger(session, "totalPause"), 250);
  EXPECT_TRUE(json_is_true(jsonAt(session, "backgroundSessionEnabled")));
  EXPECT_EQ(jsonInteger(session, "applicationState"), 2);
  EXPECT_EQ(jsonText(session, "originName"), "mail");
  EXPECT_EQ(jsonText(session, "deepLinkName"), "orvane://talk");
  EXPECT_EQ(jsonText(session, "sessionProperties/0/value"), "pro");
  EXPECT_EQ(jsonText(session, "sessionParameters/2/key"), "device.locale");
  EXPECT_EQ(jsonText(session, "sessionParameters/2/value"), "en_GB");
  EXPECT_TRUE(json_is_true(jsonAt(session, "sessionParameters/2/changed")));
  EXPECT_EQ(jsonText(session, "timeZone"), "Europe/London");
  EXPECT_EQ(jsonInteger(session, "networkStatus"), 1);
  EXPECT_EQ(jsonInteger(session, "orientation"), 2);
  EXPECT_EQ(jsonText(session, "userId"), "user-7");
  EXPECT_DOUBLE_EQ(json_real_value(jsonAt(session, "latitude")), 51.5);
  EXPECT_DOUBLE_EQ(json_real_value(jsonAt(session, "longitude")), -0.125);
  EXPECT_DOUBLE_EQ(json_real_value(jsonAt(session, "accuracy")), 5.5);
  EXPECT_EQ(jsonInteger(session, "pageViews"), 4);
  EXPECT_EQ(jsonInteger(session, "deviceStatus"), 0xFF);
  EXPECT_EQ(jsonInteger(session, "gender"), 0);
  EXPECT_EQ(jsonText(session, "birthYear/utc"), "1986-01-01T00:00:00.000Z");
  EXPECT_EQ(jsonText(session, "eventCounts/0/name"), "beep");
  EXPECT_EQ(jsonInteger(session, "eventCounts/1/count"), 1);

  EXPECT_EQ(jsonText(session, "events/0/name"), "talk");
  EXPECT_EQ(jsonText(session, "events/0/parameters/0/value"), "monster");
  // Booleans are numbers on the phone.
  EXPECT_EQ(jsonText(session, "events/0/parameters/1/value"), "1");
  EXPECT_EQ(jsonText(session, "events/0/parameters/2/value"), "0");
  EXPECT_EQ(jsonText(session, "events/0/parameters/3/value"), "3");
  EXPECT_EQ(jsonInteger(session, "events/0/startOffset"), 1500);
  EXPECT_EQ(jsonInteger(session, "events/0/duration"), 2500);
  EXPECT_EQ(jsonInteger(session, "events/1/eventLogId"), 2);
  EXPECT_EQ(jsonInteger(session, "events/1/duration"), 0);
  EXPECT_TRUE(json_is_true(jsonAt(session, "eventLogComplete")));

  EXPECT_EQ(jsonInteger(session, "totalErrors"), 6);
  EXPECT_EQ(json_array_size(jsonAt(session, "errors")), 2u);
  EXPECT_EQ(jsonText(session, "errors/0/errorId"), "E42");
  EXPECT_EQ(jsonText(session, "errors/0/message"), "disk full");
  EXPECT_EQ(jsonInteger(session, "errors/0/time/ms"), 1700000003000);
  EXPECT_EQ(jsonText(session, "errors/1/exception"), "std::bad_alloc");
  EXPECT_EQ(jsonInteger(session, "errors/1/errorType"), 2);
  EXPECT_EQ(jsonText(session, "errors/1/report/base64"), "AQI=");
  EXPECT_EQ(jsonInteger(session, "crashError/errorLogId"), 3);
  EXPECT_EQ(jsonInteger(session, "crashError/errorType"), 3);
  EXPECT_EQ(jsonInteger(session, "crashError/time/ms"), 1700000001000);
  EXPECT_EQ(jsonInteger(session, "crashError/report/size"),
            static_cast<json_int_t>(TallixCrashReportBuilder().bytes().size()));
  EXPECT_EQ(jsonText(session, "crashError/crashReport/signal/name"), "SIGSEGV");
  EXPECT_EQ(jsonText(session, "crashError/crashReport/crashedThread/frames/0/module"), "orvane");
  EXPECT_EQ(jsonText(session, "crashError/crashReport/crashedThread/frames/0/offset"), "0x1234");
  EXPECT_EQ(jsonText(session, "crashError/crashReport/crashedThread/frames/0/symbol"),
            "orvane::Engine::play()");
  EXPECT_FALSE(jsonAt(session, "errors/1/crashReport"));
  EXPECT_EQ(json_array_size(jsonAt(session, "reservedTail")), 4u);
}

TEST_F(ReportReaderTest, PlainSessionsBackToBackAreEachReadWhole) {
  const Bytes plain = record();
  draft_.fields.appVersion = "second";
  draft_.fields.gender = -1;
  body_.sessions = {plain, record()};
  const TallixJson report = read(body_.build());
  const json_t* first = jsonAt(report.get(), "body/sessions/0");
  const json_t* second = jsonAt(report.get(), "body/sessions/1");

  EXPECT_EQ(jsonInteger(first, "sessionLength"), -1);
  EXPECT_FALSE(jsonAt(first, "originName"));
  EXPECT_FALSE(jsonAt(first, "birthYear"));
  EXPECT_TRUE(json_is_null(jsonAt(first, "crashError")));
  EXPECT_EQ(json_array_size(jsonAt(first, "events")), 0u);
  EXPECT_EQ(jsonText(second, "applicationVersion"), "second");
  EXPECT_EQ(jsonInteger(second, "gender"), -1);
  EXPECT_EQ(jsonText(report.get(), "body/cookies/0/key"), "srv");
}

// Whatever bytes the application passes, each string goes out as at most 255 characters of
// well-formed UTF-8 within its length field, so every later field is read where it was written.
TEST_F(ReportReaderTest, HostileStringsAreWrittenAsAtMost255CharactersOfUtf8) {
  const std::string replaced = "\uFFFD";
  const std::string grinning = "\xF0\x9F\x98\x80";
  const std::string continuations(70000, '\x80');
  // Event name as the application passes it, and as the report must carry it.
  const std::pair<std::string, std::string> names[] = {
      {continuations, repeated(replaced, 255)},
      // One U+FFFD for a stray byte, for each byte of an overlong form (2) and of a surrogate
      // (3), and one for a sequence broken off after its lead.
      {"ok\xFF\xC0\xAF\xED\xA0\x80\xE2\x82!", "ok" + repeated(replaced, 7) + "!"},
      {repeated("\xF0\x9F\x98", 300), repeated(replaced, 255)},
      {std::string("a\0b", 3), std::string("a\0b", 3)},
      {std::string(300, '\0'), std::string(255, '\0')},
      {repeated("a", 254) + grinning + "z", repeated("a", 254) + grinning},
      {repeated(grinning, 256), repeated(grinning, 255)},
  };
  for (int id = 1; const auto& [name, expected] : names)
    draft_.eventLog.put(std::make_shared<TallixEvent>(name, false, Value(), kStart, id++), true);
  draft_.fields.userID = continuations;
  draft_.fields.pageViewCount = 9;
  body_.sessions = {record()};
  const TallixJson report = read(body_.build());
  const json_t* session = jsonAt(report.get(), "body/sessions/0");

  for (std::size_t at = 0; at < std::size(names); ++at)
    EXPECT_EQ(jsonText(session, "events/" + std::to_string(at) + "/name"), names[at].second) << at;
  EXPECT_EQ(jsonText(session, "userId"), repeated(replaced, 255));
  EXPECT_EQ(jsonInteger(session, "pageViews"), 9);
}

TEST_F(ReportReaderTest, EveryFlippedBitFailsTheChecksum) {
  body_.sessions = {record()};
  const Bytes body = body_.build();
  for (std::size_t at = 0; at < body.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      Bytes flipped = body;
      flipped[at] ^= static_cast<std::uint8_t>(1 << bit);
      ASSERT_NE(rejection(flipped).find("CRC-32"), std::string::npos) << "byte " << at;
    }
  }
}

TEST_F(ReportReaderTest, ShortBodiesAreRejectedEvenWithAValidChecksum) {
  logEverything();
  body_.sessions = {record()};
  const Bytes whole = body_.unsealed();
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    ASSERT_NE(rejection(TestRequestBody::sealed(cut)), "<accepted>") << size << " bytes";
    ASSERT_NE(rejection(cut), "<accepted>") << size << " bytes unsealed";
  }
  EXPECT_EQ(rejection({}), "body of 0 bytes is too short for its CRC-32");
}

TEST_F(ReportReaderTest, BytesNoWriterProducesAreRejected) {
  Bytes trailing = body_.unsealed();
  trailing.push_back(0);
  EXPECT_EQ(rejection(TestRequestBody::sealed(trailing)),
            "1 bytes follow the cookies at offset " + std::to_string(trailing.size() - 1));

  // Header, kind, version, time, API key, application version, agent kind, id count.
  const std::size_t firstTagAt = 16 + 2 + 2 + 8 + (2 + 10) + (2 + 3) + 1 + 2;
  // Three tagged ids, then the reserved byte.
  const std::size_t flagAt = firstTagAt + (2 + 11) + (2 + 11) + (2 + 5) + 1;

  Bytes notABoolean = body_.unsealed();
  ASSERT_EQ(notABoolean[flagAt], 1);
  notABoolean[flagAt] = 2;
  EXPECT_EQ(rejection(TestRequestBody::sealed(notABoolean)),
            "sentReportSuccessful at offset " + std::to_string(flagAt) + " is 2, not a boolean");

  Bytes unknownId = body_.unsealed();
  ASSERT_EQ(unknownId[firstTagAt + 1], 7);
  unknownId[firstTagAt + 1] = 5;
  EXPECT_EQ(rejection(TestRequestBody::sealed(unknownId)),
            "device id tag at offset " + std::to_string(firstTagAt) + " is 5, not 4, 6 or 7");
}

TEST(TallixJsonValuesTest, ValuesJsonCannotHoldStillComeOutReadable) {
  const TallixJson damaged(TallixJsonValues::text("ok\xFF\xC3\xA9\xE2\x82"));
  EXPECT_STREQ(json_string_value(damaged.get()), "ok\uFFFD\u00E9\uFFFD");
  const TallixJson nan(TallixJsonValues::real(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_STREQ(json_string_value(nan.get()), "nan");
  const TallixJson beforeEpoch(TallixJsonValues::timestamp(-1));
  EXPECT_EQ(jsonText(beforeEpoch.get(), "utc"), "1969-12-31T23:59:59.999Z");
  const TallixJson farOff(TallixJsonValues::timestamp(std::numeric_limits<std::int64_t>::min()));
  EXPECT_TRUE(json_is_null(jsonAt(farOff.get(), "utc")));
  EXPECT_EQ(jsonInteger(farOff.get(), "ms"), std::numeric_limits<std::int64_t>::min());
}

}  // namespace
}  // namespace tallix
