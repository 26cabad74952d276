#include <gtest/gtest.h>

#include <string>

#include "analytics/core/report/TallixMalformedData.h"
#include "analytics/core/report/TallixProtocolData.h"

namespace tallix {
namespace {

using Bytes = TallixProtocolData::Bytes;
using foundation::Date;

std::string repeated(std::string_view piece, int times) {
  std::string out;
  for (int i = 0; i < times; ++i)
    out += piece;
  return out;
}

// The length field of a written string, and the text after it.
std::pair<int, std::string> writtenString(std::string_view text) {
  Bytes data;
  TallixProtocolData::appendString(text, data);
  return {data[0] << 8 | data[1], std::string(data.begin() + 2, data.end())};
}

TEST(ProtocolDataTest, NumbersAndTimestampsAreBigEndianTwosComplementTruncatedToTheirWidth) {
  Bytes data;
  TallixProtocolData::appendBoolean(true, data);
  TallixProtocolData::appendBoolean(false, data);
  TallixProtocolData::appendByte(-1, data);
  TallixProtocolData::appendByte(0x1234, data);
  TallixProtocolData::appendUshort(0x12345, data);
  TallixProtocolData::appendInt(-2, data);
  TallixProtocolData::appendLong(0x0102030405060708, data);
  TallixProtocolData::appendFloat(1.5f, data);
  TallixProtocolData::appendDouble(2.5, data);
  // Milliseconds since 1970, truncated toward zero.
  TallixProtocolData::appendTimestamp(Date::fromTimeIntervalSince1970(1700000000.2509), data);
  TallixProtocolData::appendTimestamp(Date::fromTimeIntervalSince1970(-0.0019), data);
  EXPECT_EQ(data, (Bytes{0x01, 0x00,                                         // booleans
                         0xFF, 0x34,                                         // bytes
                         0x23, 0x45,                                         // ushort
                         0xFF, 0xFF, 0xFF, 0xFE,                             // int
                         0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08,     // long
                         0x3F, 0xC0, 0x00, 0x00,                             // float
                         0x40, 0x04, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,     // double
                         0x00, 0x00, 0x01, 0x8B, 0xCF, 0xE5, 0x68, 0xFA,     // 1700000000250
                         0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));  // -1, not -2
}

// Malformed UTF-8, NULs and strings longer than the length field are read back through the
// collector (tests/tools); here the cut of well-formed text.
TEST(ProtocolDataTest, StringsAreUtf8BytesCutAt255CharactersNotBytes) {
  const std::string eAcute = "\xC3\xA9";
  EXPECT_EQ(writtenString("h" + eAcute + "!"), std::make_pair(4, "h" + eAcute + "!"));
  EXPECT_EQ(writtenString(""), std::make_pair(0, std::string()));
  EXPECT_EQ(writtenString(repeated("a", 255)), std::make_pair(255, repeated("a", 255)));
  EXPECT_EQ(writtenString(repeated("a", 256)), std::make_pair(255, repeated("a", 255)));
  // 400 bytes but only 200 characters: kept whole.
  EXPECT_EQ(writtenString(repeated(eAcute, 200)), std::make_pair(400, repeated(eAcute, 200)));
  EXPECT_EQ(writtenString(repeated(eAcute, 300)), std::make_pair(510, repeated(eAcute, 255)));
  // The cut falls after a whole multi-byte character, never inside one.
  const std::string mixed = repeated("a", 254) + eAcute + "b";
  EXPECT_EQ(writtenString(mixed), std::make_pair(256, repeated("a", 254) + eAcute));
}

TEST(ProtocolDataTest, DataIsPrefixedByItsLengthInThreeWidths) {
  const Bytes payload{0xAA, 0xBB, 0xCC};
  Bytes data;
  TallixProtocolData::appendTinyData(payload, data);
  TallixProtocolData::appendShortData(payload, data);
  TallixProtocolData::appendLargeData(payload, data);
  TallixProtocolData::appendLargeData(Bytes{}, data);
  EXPECT_EQ(data, (Bytes{0x03, 0xAA, 0xBB, 0xCC,                    // tiny
                         0x00, 0x03, 0xAA, 0xBB, 0xCC,              // short
                         0x00, 0x00, 0x00, 0x03, 0xAA, 0xBB, 0xCC,  // large
                         0x00, 0x00, 0x00, 0x00}));                 // empty large
}

TEST(ProtocolDataTest, ReadersTakeBigEndianValuesAndRefuseToReadPastTheEnd) {
  const Bytes data{0x00, 0xFF, 0xFE, 0x12, 0x34, 0x56};
  EXPECT_EQ(TallixProtocolData::getInt16FromData(data, 1), -2);
  EXPECT_EQ(TallixProtocolData::getInt16FromData(data, 4), 0x3456);
  EXPECT_EQ(TallixProtocolData::getInt32FromData(data, 2), static_cast<std::int32_t>(0xFE123456));

  try {
    TallixProtocolData::getInt16FromData(data, 6);
    FAIL() << "read past the end";
  } catch (const TallixMalformedData& error) {
    EXPECT_EQ(error.name(), "Malformed data");
    EXPECT_EQ(error.reason(), "getInt16FromData: data len=6, ix=6");
  }
  // A value that starts inside the data but runs off its end is just as malformed.
  EXPECT_THROW(TallixProtocolData::getInt16FromData(data, 5), TallixMalformedData);
  EXPECT_THROW(TallixProtocolData::getInt32FromData(data, 3), TallixMalformedData);
  EXPECT_THROW(TallixProtocolData::getInt32FromData(Bytes{}, 0), TallixMalformedData);
}

}  // namespace
}  // namespace tallix
