#include <gtest/gtest.h>

#include "analytics/core/settings/TallixPersistentMap.h"
#include "analytics/core/support/TallixLog.h"
#include "analytics/core/upload/TallixResponseParser.h"

namespace tallix {
namespace {

using Bytes = foundation::Value::Bytes;
using Cookies = TallixResponseParser::Cookies;

// A cookie chunk as the server sends it: type, a 32-bit value, two unused bytes, the count.
Bytes cookieChunk(int count, const Bytes& entries) {
  Bytes body = {0x01, 0x1E, 0, 0, 0, 9, 0, 0, 0, static_cast<std::uint8_t>(count)};
  for (std::uint8_t byte : entries)
    body.push_back(byte);
  return body;
}

const Bytes kTwoEntries = {0, 1, 's', 0, 2, '4', '2', 0, 2, 'i', 'd', 0, 0};

TEST(TallixResponseParserTest, ReadsEveryCookieOfACompleteChunk) {
  EXPECT_EQ(TallixResponseParser::readCookies(cookieChunk(2, kTwoEntries)),
            (Cookies{{"s", "42"}, {"id", ""}}));
  EXPECT_TRUE(TallixResponseParser::readCookies({}).empty());
  EXPECT_TRUE(TallixResponseParser::readCookies({0x02, 0x00, 0, 0, 0, 0}).empty());
}

TEST(TallixResponseParserTest, KeepsOnlyWhatWasReadInFullFromAShortChunk) {
  const Bytes cutInValue(kTwoEntries.begin(), kTwoEntries.end() - 1);
  EXPECT_EQ(TallixResponseParser::readCookies(cookieChunk(2, cutInValue)), (Cookies{{"s", "42"}}));
  EXPECT_EQ(TallixResponseParser::readCookies(cookieChunk(3, kTwoEntries)).size(), 2u);
  const Bytes lengthPastTheEnd = {0, 200, 'k'};
  EXPECT_TRUE(TallixResponseParser::readCookies(cookieChunk(1, lengthPastTheEnd)).empty());
}

TEST(TallixResponseParserTest, AMalformedAnswerChangesNothingAndThrowsNothing) {
  TallixPersistentMap cookies("persistentCookiesMap");
  cookies.setValue("s", "1");
  TallixResponseParser::parseResponse({0x01}, cookies);
  TallixResponseParser::parseResponse({0x01, 0x1E, 0, 0}, cookies);
  EXPECT_EQ(cookies.entries().size(), 1u);
  TallixResponseParser::parseResponse(cookieChunk(2, kTwoEntries), cookies);
  EXPECT_EQ(*cookies.valueForKey("s"), foundation::Value("42"));
  EXPECT_EQ(*cookies.valueForKey("id"), foundation::Value(""));
}

TEST(TallixResponseParserTest, ACookiePastTheMapsCapacityOrTooLargeIsDroppedWithADebugLine) {
  TallixPersistentMap cookies("persistentCookiesMap", 1);
  cookies.setValue("s", "1");
  Bytes entries = kTwoEntries;
  const std::string big(TallixResponseParser::kMaxCookieBytes, 'x');
  entries.insert(entries.end(),
                 {0, 1, 'b', std::uint8_t(big.size() >> 8), std::uint8_t(big.size())});
  entries.insert(entries.end(), big.begin(), big.end());
  testing::internal::CaptureStdout();
  TallixLog::setLogLevel(TallixLog::kDebugLevel);
  EXPECT_TRUE(TallixResponseParser::parseResponse(cookieChunk(3, entries), cookies));
  TallixLog::setLogLevel(TallixLog::kRefusalLevel);
  const std::string output = testing::internal::GetCapturedStdout();
  EXPECT_NE(output.find("Tallix: cookie map full, cookie [id] dropped"), std::string::npos);
  EXPECT_NE(output.find("Tallix: cookie [b] too large, dropped"), std::string::npos);
  EXPECT_EQ(cookies.entries(), (foundation::Value::Dictionary{{"s", "42"}}));
}

}  // namespace
}  // namespace tallix
