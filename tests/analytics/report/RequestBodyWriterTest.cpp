#include <gtest/gtest.h>

#include <cstring>

#include "analytics/core/report/TallixRequestBodyWriter.h"
#include "analytics/core/report/TallixTrackedProperties.h"
#include "analytics/core/settings/TallixGlobalVariableStorage.h"
#include "tests/analytics/FixedClock.h"

namespace tallix {
namespace {

using foundation::Date;
using foundation::Value;
using Bytes = Value::Bytes;

// 2023-11-14 22:13:20 UTC = 1700000000000 ms = 0x0000018BCFE56800.
const Date kNow = Date::fromTimeIntervalSince1970(1700000000);

Bytes withoutChecksum(const Bytes& body) {
  return Bytes(body.begin(), body.end() - 4);
}

std::uint32_t trailingInt(const Bytes& body) {
  return std::uint32_t{body[body.size() - 4]} << 24 | std::uint32_t{body[body.size() - 3]} << 16 |
         std::uint32_t{body[body.size() - 2]} << 8 | body[body.size() - 1];
}

class RequestBodyWriterTest : public ::testing::Test {
 protected:
  RequestBodyWriterTest() {
    storage_.update([](TallixSettings& settings) {
      settings.apiKey = "K";
      settings.appVersion = "1";
      settings.initialTimestamp = kNow;
      settings.launchOptions = Value::Dictionary{{"u", Value::Array{"a", 2}}};
      settings.originSets = {Value::Dictionary{{"originName", "o"}, {"originVersion", "v"}}};
    });
    storage_.persistentCookiesMap().setValue("c", "d");
  }

  TallixRequestBodyWriter writer(TallixDeviceDescription device) {
    return TallixRequestBodyWriter(storage_, clock_, tracked_, std::move(device));
  }

  TallixGlobalVariableStorage storage_{"1.0"};
  FixedClock clock_{kNow};
  TallixTrackedProperties tracked_{storage_.persistentGlobalsMap()};
};

TEST_F(RequestBodyWriterTest, BodyIsLaidOutByteForByteAndClosedByItsChecksum) {
  auto bodyWriter = writer({"M", "12", "x", 640, 480, "b", "T", std::nullopt});
  const auto body = bodyWriter.dataForSessions({{0xAA, 0xBB}}, kNow, true);
  ASSERT_TRUE(body);
  const Bytes expected = {
      0x00, 0x1F, 0x00, 0x04, 0x00, 0x01,                          // fixed header
      0,    0,    0,    0,    0,    0,    0,    0,    0x00, 0x00,  // long 0, ushort 0
      0x00, 0x02, 0x00, 0x9B,                                      // phone kind, agent 155
      0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0x00,              // written at
      0x00, 0x01, 'K',  0x00, 0x01, '1',                           // API key, version
      0x01, 0x00, 0x01, 0x00, 0x07, 0x00, 0x01, 'T',               // application; one id: 7 "T"
      0x00, 0x01, 0x00,                                            // 0, sent before, no ads
      0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0x00,              // first run
      0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0x00,              // current session
      0x00, 0x05,                                                  // five device properties
      0x00, 0x0E, 'd',  'e',  'v',  'i',  'c',  'e',  '.',  'm',  'o',  'd',  'e',  'l',
      '.',  '1',  0x00, 0x01, 'M',  0x01,  // first report: changed
      0x00, 0x11, 'd',  'e',  'v',  'i',  'c',  'e',  '.',  'o',  's',  '.',  'v',  'e',
      'r',  's',  'i',  'o',  'n',  0x00, 0x02, '1',  '2',  0x01, 0x00, 0x0B, 'd',  'e',
      'v',  'i',  'c',  'e',  '.',  'a',  'r',  'c',  'h',  0x00, 0x01, 'x',  0x01, 0x00,
      0x09, 's',  'c',  'r',  '.',  'w',  'i',  'd',  't',  'h',  0x00, 0x03, '6',  '4',
      '0',  0x01, 0x00, 0x0A, 's',  'c',  'r',  '.',  'h',  'e',  'i',  'g',  'h',  't',
      0x00, 0x03, '4',  '8',  '0',  0x01, 0x00, 0x00, 0x00,  // ushort 0, boolean 0
      0x00, 0x01, 0x00, 0x01, 'u',  0x00, 0x02, 0x00, 0x01, 'a',  0x00, 0x01, '2',  // options
      0x00, 0x01, 0x00, 0x01, 'o',  0x00, 0x01,  // one origin "o", one entry
      0x00, 0x0D, 'o',  'r',  'i',  'g',  'i',  'n',  'V',  'e',  'r',  's',  'i',  'o',
      'n',  0x00, 0x01, 'v',  0x00, 0x01, 'b',        // bundle identifier
      0x00, 0x01, 0xAA, 0xBB,                         // one record
      0x00, 0x01, 0x00, 0x01, 'c',  0x00, 0x01, 'd',  // one cookie
  };
  EXPECT_EQ(withoutChecksum(*body), expected);
  EXPECT_EQ(trailingInt(*body),
            TallixRequestBodyWriter::dataChecksum(expected.data(), expected.size()));

  // Reported once, the device properties read as unchanged in the next body.
  const auto next = bodyWriter.dataForSessions({}, kNow, true);
  EXPECT_EQ((*next)[82], 0x00);
}

TEST_F(RequestBodyWriterTest, ADeviceWithoutAnyIdentifierGetsNoBody) {
  EXPECT_FALSE(writer({"M", "12", "x", 1, 1, "b", std::nullopt, std::nullopt})
                   .dataForSessions({}, kNow, false));
  const auto both = writer({"M", "12", "x", 1, 1, "b", "T", "V"}).dataForSessions({}, kNow, false);
  ASSERT_TRUE(both);
  const Bytes identifiers(both->begin() + 35, both->begin() + 47);
  EXPECT_EQ(identifiers,
            (Bytes{0x00, 0x02, 0x00, 0x07, 0x00, 0x01, 'T', 0x00, 0x06, 0x00, 0x01, 'V'}));
}

TEST(TallixChecksumTest, MatchesTheStandardCheckValue) {
  const char* check = "123456789";
  EXPECT_EQ(TallixRequestBodyWriter::dataChecksum(reinterpret_cast<const std::uint8_t*>(check),
                                                  std::strlen(check)),
            0xCBF43926u);
  EXPECT_EQ(TallixRequestBodyWriter::dataChecksum(nullptr, 0), 0u);
}

}  // namespace
}  // namespace tallix
