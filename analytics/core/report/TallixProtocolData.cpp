#include "analytics/core/report/TallixProtocolData.h"

#include <algorithm>
#include <limits>

#include "analytics/core/report/TallixMalformedData.h"
#include "foundation/StringFormat.h"

namespace tallix {

namespace {

// UTF-8 continuation bytes are 10xxxxxx; every other byte starts a character.
bool startsCharacter(char byte) {
  return (static_cast<std::uint8_t>(byte) & 0xC0) != 0x80;
}

void appendBytes(TallixProtocolData::ByteSpan value, TallixProtocolData::Bytes& data) {
  data.insert(data.end(), value.begin(), value.end());
}

template <std::unsigned_integral Unsigned>
Unsigned readBigEndian(const TallixProtocolData::Bytes& data, std::size_t index,
                       const char* method) {
  if (index >= data.size() || data.size() - index < sizeof(Unsigned)) {
    throw TallixMalformedData(foundation::stringWithFormat("%s: data len=%lu, ix=%d", method,
                                                           static_cast<unsigned long>(data.size()),
                                                           static_cast<int>(index)));
  }
  Unsigned value = 0;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i)
    value = static_cast<Unsigned>((value << 8) | data[index + i]);
  return value;
}

}  // namespace

void TallixProtocolData::appendString(std::string_view value, Bytes& data) {
  const std::string_view limited = limitStringLength(value);
  appendUshort(static_cast<int>(limited.size()), data);
  appendBytes({reinterpret_cast<const std::uint8_t*>(limited.data()), limited.size()}, data);
}

void TallixProtocolData::appendTinyData(ByteSpan value, Bytes& data) {
  appendByte(static_cast<int>(value.size()), data);
  appendBytes(value, data);
}

void TallixProtocolData::appendShortData(ByteSpan value, Bytes& data) {
  appendUshort(static_cast<int>(value.size()), data);
  appendBytes(value, data);
}

void TallixProtocolData::appendLargeData(ByteSpan value, Bytes& data) {
  const std::size_t length =
      std::min<std::size_t>(value.size(), std::numeric_limits<std::uint32_t>::max());
  appendBigEndian(static_cast<std::uint32_t>(length), data);
  appendBytes(value, data);
}

std::string_view TallixProtocolData::limitStringLength(std::string_view value) {
  // A character takes at least one byte, so a string this short cannot be too long.
  if (value.size() <= kMaxStringCharacters)
    return value;
  std::size_t characters = 0;
  for (std::size_t at = 0; at < value.size(); ++at) {
    if (startsCharacter(value[at]) && characters++ == kMaxStringCharacters)
      return value.substr(0, at);
  }
  return value;
}

std::int16_t TallixProtocolData::getInt16FromData(const Bytes& data, std::size_t index) {
  return static_cast<std::int16_t>(readBigEndian<std::uint16_t>(data, index, __func__));
}

std::int32_t TallixProtocolData::getInt32FromData(const Bytes& data, std::size_t index) {
  return static_cast<std::int32_t>(readBigEndian<std::uint32_t>(data, index, __func__));
}

}  // namespace tallix
