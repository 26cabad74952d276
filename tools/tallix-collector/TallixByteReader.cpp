#include "tools/tallix-collector/TallixByteReader.h"

#include <bit>
#include <string>

#include "tools/tallix-collector/TallixReportRejected.h"

namespace tallix {

std::uint8_t TallixByteReader::byte(std::string_view field) {
  return bigEndian<std::uint8_t>(field);
}

bool TallixByteReader::boolean(std::string_view field) {
  const std::size_t at = offset_;
  const std::uint8_t value = byte(field);
  if (value > 1) {
    throw TallixReportRejected(std::string(field) + " at offset " + std::to_string(at) + " is " +
                               std::to_string(value) + ", not a boolean");
  }
  return value == 1;
}

std::uint16_t TallixByteReader::ushort(std::string_view field) {
  return bigEndian<std::uint16_t>(field);
}

std::int32_t TallixByteReader::int32(std::string_view field) {
  return static_cast<std::int32_t>(bigEndian<std::uint32_t>(field));
}

std::int64_t TallixByteReader::int64(std::string_view field) {
  return static_cast<std::int64_t>(bigEndian<std::uint64_t>(field));
}

float TallixByteReader::float32(std::string_view field) {
  return std::bit_cast<float>(bigEndian<std::uint32_t>(field));
}

double TallixByteReader::float64(std::string_view field) {
  return std::bit_cast<double>(bigEndian<std::uint64_t>(field));
}

std::string_view TallixByteReader::string(std::string_view field) {
  const Bytes bytes = shortData(field);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TallixByteReader::Bytes TallixByteReader::shortData(std::string_view field) {
  return take(ushort(field), field);
}

TallixByteReader::Bytes TallixByteReader::largeData(std::string_view field) {
  return take(bigEndian<std::uint32_t>(field), field);
}

TallixByteReader::Bytes TallixByteReader::take(std::size_t size, std::string_view field) {
  if (size > remaining()) {
    throw TallixReportRejected(std::string(field) + " at offset " + std::to_string(offset_) +
                               " needs " + std::to_string(size) + " bytes, " +
                               std::to_string(remaining()) + " left");
  }
  const Bytes taken = data_.subspan(offset_, size);
  offset_ += size;
  return taken;
}

template <typename Unsigned>
Unsigned TallixByteReader::bigEndian(std::string_view field) {
  Unsigned value = 0;
  for (const std::uint8_t byte : take(sizeof(Unsigned), field))
    value = static_cast<Unsigned>((static_cast<std::uint64_t>(value) << 8) | byte);
  return value;
}

}  // namespace tallix
