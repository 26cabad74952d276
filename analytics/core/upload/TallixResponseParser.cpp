#include "analytics/core/upload/TallixResponseParser.h"

#include <exception>

#include "analytics/core/report/TallixMalformedData.h"
#include "analytics/core/report/TallixProtocolData.h"
#include "analytics/core/settings/TallixPersistentMap.h"
#include "analytics/core/support/TallixLog.h"

namespace tallix {

using Bytes = foundation::Value::Bytes;

namespace {

constexpr const char* kMethod = "-[TallixDataSender parseResponse:]";
// Chunk type, its 32-bit value and two bytes the chunk does not use before the count.
constexpr std::size_t kCookieCountAt = 2 + 4 + 2;

std::size_t readLength(const Bytes& body, std::size_t at) {
  return static_cast<std::uint16_t>(TallixProtocolData::getInt16FromData(body, at));
}

// The text of `length` bytes at `at`, or nothing when the body ends first.
std::optional<std::string> readText(const Bytes& body, std::size_t at, std::size_t length) {
  if (at + length > body.size())
    return std::nullopt;
  return std::string(body.begin() + static_cast<std::ptrdiff_t>(at),
                     body.begin() + static_cast<std::ptrdiff_t>(at + length));
}

}  // namespace

TallixResponseParser::Cookies TallixResponseParser::readCookies(const Bytes& body) {
  Cookies cookies;
  if (body.empty())
    return cookies;
  const int chunkType = static_cast<std::uint16_t>(TallixProtocolData::getInt16FromData(body, 0));
  if (chunkType != kCookieChunkType) {
    TallixLog::debug("%s: Got unexpected chunk typd %x", kMethod, chunkType);
    return cookies;
  }
  const std::size_t count = readLength(body, kCookieCountAt);
  std::size_t at = kCookieCountAt + 2;
  while (cookies.size() < count) {
    std::optional<std::string> key, value;
    if (at + 2 <= body.size()) {
      const std::size_t keyLength = readLength(body, at);
      key = readText(body, at + 2, keyLength);
      at += 2 + keyLength;
    }
    if (key && at + 2 <= body.size()) {
      const std::size_t valueLength = readLength(body, at);
      value = readText(body, at + 2, valueLength);
      at += 2 + valueLength;
    }
    if (!key || !value) {
      TallixLog::debug("%s: Unable to read all cookies from response, number read %d", kMethod,
                       static_cast<int>(cookies.size()));
      break;
    }
    cookies.emplace_back(std::move(*key), std::move(*value));
  }
  return cookies;
}

bool TallixResponseParser::parseResponse(const Bytes& body, TallixPersistentMap& cookieMap) {
  bool changed = false;
  try {
    for (auto& [key, value] : readCookies(body)) {
      if (key.size() + value.size() > kMaxCookieBytes) {
        TallixLog::debug("Tallix: cookie [%s] too large, dropped", key.c_str());
      } else if (cookieMap.valueForKey(key) != foundation::Value(value)) {
        if (cookieMap.setValue(key, std::move(value)))
          changed = true;
        else
          TallixLog::debug("Tallix: cookie map full, cookie [%s] dropped", key.c_str());
      }
    }
  } catch (const TallixMalformedData& malformed) {
    TallixLog::debug("Failed to parse response with exception %s: %s",
                     std::string(malformed.name()).c_str(), malformed.reason().c_str());
  }
  return changed;
}

}  // namespace tallix
