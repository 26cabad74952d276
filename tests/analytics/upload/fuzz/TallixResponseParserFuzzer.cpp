// Any answer the server sends must be read without a crash and without a cookie that was not in
// it. Every cookie found, written back in the server's own layout, must reproduce the answer
// from its start: that bounds each length, the entries and their count by the bytes received.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "analytics/core/report/TallixMalformedData.h"
#include "analytics/core/report/TallixProtocolData.h"
#include "analytics/core/settings/TallixPersistentMap.h"
#include "analytics/core/upload/TallixResponseParser.h"

namespace {

using foundation::Value;
using tallix::TallixProtocolData;
using tallix::TallixResponseParser;
using Cookies = TallixResponseParser::Cookies;

// Chunk type, its 32-bit value, two unused bytes and the 16-bit cookie count.
constexpr std::size_t kHeaderSize = 10;

void check(bool holds) {
  if (!holds)
    std::abort();
}

void appendText(const std::string& text, Value::Bytes& body) {
  TallixProtocolData::appendShortData(
      {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}, body);
}

void checkEveryCookieCameFromTheAnswer(const Value::Bytes& answer, const Cookies& cookies) {
  if (cookies.empty())
    return;
  check(answer.size() >= kHeaderSize &&
        TallixProtocolData::getInt16FromData(answer, 0) == TallixResponseParser::kCookieChunkType);
  check(cookies.size() <=
        static_cast<std::uint16_t>(TallixProtocolData::getInt16FromData(answer, 8)));
  Value::Bytes rewritten(answer.begin(), answer.begin() + kHeaderSize);
  for (const auto& [key, value] : cookies) {
    appendText(key, rewritten);
    appendText(value, rewritten);
  }
  check(rewritten.size() <= answer.size() &&
        std::equal(rewritten.begin(), rewritten.end(), answer.begin()));
}

// A map never bound to a file: parsing only changes it in memory, so runs touch no disk.
void checkTheMapHoldsWhatWasRead(const Value::Bytes& answer, const Cookies& cookies) {
  tallix::TallixPersistentMap map("persistentCookiesMap");
  map.setValue("kept", "before");
  TallixResponseParser::parseResponse(answer, map);
  Value::Dictionary expected{{"kept", Value("before")}};
  for (const auto& [key, value] : cookies)
    expected.insert_or_assign(key, Value(value));  // a repeated key keeps its last value
  check(map.entries() == expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Value::Bytes answer(data, data + size);
  Cookies cookies;
  try {
    cookies = TallixResponseParser::readCookies(answer);
  } catch (const tallix::TallixMalformedData&) {
    // Only a header cut short may throw; a short entry ends the reading instead.
    check(size < kHeaderSize);
  }
  checkEveryCookieCameFromTheAnswer(answer, cookies);
  checkTheMapHoldsWhatWasRead(answer, cookies);
  return 0;
}
