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

TEST(TallixResponseParserTest, KeepsTheCookiesReadInFullAndNothingOfAMalformedAnswer) {
  const Cookies both = {{"s", "42"}, {"id", ""}};
  const std::pair<Bytes, Cookies> cases[] = {
      {cookieChunk(2, kTwoEntries), both},
      {{}, {}},
      {{0x02, 0x00, 0, 0, 0, 0}, {}},
      {cookieChunk(2, Bytes(kTwoEntries.begin(), kTwoEntries.end() - 1)), {{"s", "42"}}},
      {cookieChunk(3, kTwoEntries), both},
      {cookieChunk(1, {0, 200, 'k'}), {}},  // a length past the end
  };
  for (const auto& [body, cookies] : cases)
    EXPECT_EQ(TallixResponseParser::readCookies(body), cookies);

  TallixPersistentMap stored("persistentCookiesMap");
  stored.setValue("s", "1");
  EXPECT_FALSE(TallixResponseParser::parseResponse({0x01}, stored));
  EXPECT_FALSE(TallixResponseParser::parseResponse({0x01, 0x1E, 0, 0}, stored));
  EXPECT_EQ(stored.entries().size(), 1u);
  EXPECT_TRUE(TallixResponseParser::parseResponse(cookieChunk(2, kTwoEntries), stored));
  EXPECT_EQ(stored.entries(), (foundation::Value::Dictionary{{"s", "42"}, {"id", ""}}));
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
