#include "analytics/config/exchange/TallixAvroEncodingCheck.h"

#include <limits>

namespace tallix::avro {
namespace {

constexpr int kMaxInt32Bytes = 5;
constexpr int kMaxInt64Bytes = 10;

std::int64_t zigzagDecoded(std::uint64_t raw) {
  return static_cast<std::int64_t>(raw >> 1) ^ -static_cast<std::int64_t>(raw & 1);
}

}  // namespace

std::optional<std::string> TallixAvroEncodingCheck::problemIn(avro_schema_t schema,
                                                              std::span<const std::uint8_t> bytes) {
  TallixAvroEncodingCheck check(bytes);
  if (!check.value(schema))
    return check.problem_;
  if (check.remaining() != 0)
    return std::to_string(check.remaining()) + " bytes after the value";
  return std::nullopt;
}

bool TallixAvroEncodingCheck::value(avro_schema_t schema) {
  std::int32_t int32Value;
  std::int64_t int64Value;
  switch (avro_typeof(schema)) {
    case AVRO_NULL:
      return true;
    case AVRO_BOOLEAN:
      return boolean();
    case AVRO_INT32:
      return int32(int32Value);
    case AVRO_INT64:
      return int64(int64Value);
    case AVRO_FLOAT:
      return skip(sizeof(float));
    case AVRO_DOUBLE:
      return skip(sizeof(double));
    case AVRO_STRING:
    case AVRO_BYTES:
      return lengthPrefixed();
    case AVRO_ENUM:
      return enumIndex(schema);
    case AVRO_RECORD:
      return record(schema);
    case AVRO_ARRAY:
      return array(schema);
    case AVRO_UNION:
      return unionBranch(schema);
    case AVRO_LINK:
      return value(avro_schema_link_target(schema));
    default:
      return refuse(std::string("no check for type ") + avro_schema_type_name(schema));
  }
}

bool TallixAvroEncodingCheck::record(avro_schema_t schema) {
  const std::size_t fieldCount = avro_schema_record_size(schema);
  for (std::size_t i = 0; i < fieldCount; ++i) {
    if (!value(avro_schema_record_field_get_by_index(schema, static_cast<int>(i))))
      return false;
  }
  return true;
}

bool TallixAvroEncodingCheck::array(avro_schema_t schema) {
  const avro_schema_t items = avro_schema_array_items(schema);
  std::int64_t count;
  do {
    if (!int64(count))
      return false;
    if (count < 0)
      return refuse("array block with a negative count");
    // Every item takes at least one byte, so a count beyond the rest is a lie.
    if (static_cast<std::uint64_t>(count) > remaining())
      return refuse("array count " + std::to_string(count) + " beyond the body");
    for (std::int64_t i = 0; i < count; ++i) {
      if (!value(items))
        return false;
    }
  } while (count != 0);
  return true;
}

bool TallixAvroEncodingCheck::unionBranch(avro_schema_t schema) {
  std::int64_t index;
  if (!int64(index))
    return false;
  if (index < 0 || static_cast<std::uint64_t>(index) >= avro_schema_union_size(schema))
    return refuse("union index " + std::to_string(index) + " out of range");
  return value(avro_schema_union_branch(schema, static_cast<int>(index)));
}

bool TallixAvroEncodingCheck::enumIndex(avro_schema_t schema) {
  std::int32_t index;
  if (!int32(index))
    return false;
  if (index < 0 || index >= avro_schema_enum_number_of_symbols(schema))
    return refuse("enum index " + std::to_string(index) + " out of range");
  return true;
}

bool TallixAvroEncodingCheck::boolean() {
  if (remaining() < 1)
    return refuse("body cut short");
  if (bytes_[position_] > 1)
    return refuse("boolean byte " + std::to_string(bytes_[position_]));
  ++position_;
  return true;
}

bool TallixAvroEncodingCheck::lengthPrefixed() {
  std::int64_t length;
  if (!int64(length))
    return false;
  if (length < 0)
    return refuse("negative length");
  return skip(static_cast<std::uint64_t>(length));
}

bool TallixAvroEncodingCheck::int32(std::int32_t& number) {
  std::uint64_t raw;
  if (!varint(raw, kMaxInt32Bytes))
    return false;
  if (raw > std::numeric_limits<std::uint32_t>::max())
    return refuse("int beyond 32 bits");
  number = static_cast<std::int32_t>(zigzagDecoded(raw));
  return true;
}

bool TallixAvroEncodingCheck::int64(std::int64_t& number) {
  std::uint64_t raw;
  if (!varint(raw, kMaxInt64Bytes))
    return false;
  number = zigzagDecoded(raw);
  return true;
}

// Seven bits a byte, low first; the last byte may only carry the bits that still fit.
bool TallixAvroEncodingCheck::varint(std::uint64_t& raw, int maxBytes) {
  raw = 0;
  for (int shift = 0, byteCount = 1;; shift += 7, ++byteCount) {
    if (remaining() < 1)
      return refuse("body cut short");
    const std::uint8_t byte = bytes_[position_++];
    const std::uint64_t bits = byte & 0x7f;
    if (shift == 63 && bits > 1)
      return refuse("varint beyond 64 bits");
    raw |= bits << shift;
    if (!(byte & 0x80))
      return true;
    if (byteCount == maxBytes)
      return refuse("varint too long");
  }
}

bool TallixAvroEncodingCheck::skip(std::size_t count) {
  if (count > remaining())
    return refuse("body cut short");
  position_ += count;
  return true;
}

bool TallixAvroEncodingCheck::refuse(std::string reason) {
  problem_ = std::move(reason);
  return false;
}

}  // namespace tallix::avro
