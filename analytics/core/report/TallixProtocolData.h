#pragma once

#include <array>
#include <bit>
#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "analytics/core/support/TallixTimeInterval.h"
#include "foundation/Date.h"
#include "foundation/Value.h"

namespace tallix {

// The primitives of the report format: each appends one value to a growing buffer, every
// number big-endian. The fixed-width ones are inline because a session record is made of
// tens of thousands of them.
class TallixProtocolData {
 public:
  using Bytes = foundation::Value::Bytes;
  using ByteSpan = std::span<const std::uint8_t>;

  // Longer strings are cut to this many characters (not bytes) before they are written.
  static constexpr std::size_t kMaxStringCharacters = 255;

  static void appendBoolean(bool value, Bytes& data) { data.push_back(value ? 1 : 0); }
  // Negative values go out as two's complement: -1 is 0xFF.
  static void appendByte(int value, Bytes& data) {
    data.push_back(static_cast<std::uint8_t>(value));
  }
  static void appendUshort(int value, Bytes& data) {
    appendBigEndian(static_cast<std::uint16_t>(value), data);
  }
  static void appendInt(std::int32_t value, Bytes& data) {
    appendBigEndian(static_cast<std::uint32_t>(value), data);
  }
  static void appendLong(std::int64_t value, Bytes& data) {
    appendBigEndian(static_cast<std::uint64_t>(value), data);
  }
  static void appendFloat(float value, Bytes& data) {
    appendBigEndian(std::bit_cast<std::uint32_t>(value), data);
  }
  static void appendDouble(double value, Bytes& data) {
    appendBigEndian(std::bit_cast<std::uint64_t>(value), data);
  }
  // Milliseconds since 1970, by the same rule as every other time the agent reports.
  static void appendTimestamp(foundation::Date date, Bytes& data) {
    appendLong(timeIntervalFrom(foundation::Date(), date), data);
  }

  // A 16-bit byte count, then the string as well-formed UTF-8 cut to its first 255 characters.
  static void appendString(std::string_view value, Bytes& data);
  static void appendTinyData(ByteSpan value, Bytes& data);
  static void appendShortData(ByteSpan value, Bytes& data);
  static void appendLargeData(ByteSpan value, Bytes& data);

  // Any bytes as well-formed UTF-8 (malformed sequences become U+FFFD) of at most 255
  // characters.
  static std::string limitStringLength(std::string_view value);

  // Big-endian reads of received data; a read past the end throws TallixMalformedData.
  static std::int16_t getInt16FromData(const Bytes& data, std::size_t index);
  static std::int32_t getInt32FromData(const Bytes& data, std::size_t index);

 private:
  template <std::unsigned_integral Unsigned>
  static void appendBigEndian(Unsigned value, Bytes& data) {
    std::array<std::uint8_t, sizeof(Unsigned)> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i)
      bytes[i] = static_cast<std::uint8_t>(value >> (8 * (bytes.size() - 1 - i)));
    data.insert(data.end(), bytes.begin(), bytes.end());
  }
};

}  // namespace tallix
