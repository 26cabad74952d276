#include "analytics/core/report/TallixProtocolData.h"

#include <algorithm>
#include <limits>

#include "analytics/core/report/TallixMalformedData.h"
#include "foundation/Utf8Text.h"
#include "foundation/StringFormat.h"

namespace tallix {

namespace {

// Most strings are short plain ASCII: they go out as they are, without a copy.
bool isShortAscii(std::string_view value) {
  return value.size() <= TallixProtocolData::kMaxStringCharacters &&
         std::ranges::all_of(value,
                             [](char byte) { return static_cast<std::uint8_t>(byte) < 0x80; });
}

TallixProtocolData::ByteSpan asBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
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
  if (isShortAscii(value)) {
    appendShortData(asBytes(value), data);
    return;
  }
  appendShortData(asBytes(limitStringLength(value)), data);
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

std::string TallixProtocolData::limitStringLength(std::string_view value) {
  return foundation::Utf8Text::wellFormed(value, kMaxStringCharacters);
}

std::int16_t TallixProtocolData::getInt16FromData(const Bytes& data, std::size_t index) {
  return static_cast<std::int16_t>(readBigEndian<std::uint16_t>(data, index, __func__));
}

std::int32_t TallixProtocolData::getInt32FromData(const Bytes& data, std::size_t index) {
  return static_cast<std::int32_t>(readBigEndian<std::uint32_t>(data, index, __func__));
}

}  // namespace tallix
