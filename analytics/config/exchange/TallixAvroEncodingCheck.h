#pragma once

#include <avro.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tallix::avro {

// Walks bytes as one value of a schema in Avro's binary encoding without building anything,
// so that avro-c only ever reads input known to be whole and sane. avro-c trusts the wire:
// it allocates whatever a string length claims, looks an enum symbol up by an unchecked index
// and negates a negative block count that may not negate. Every length and count here is
// held against the bytes that remain, so the walk is bounded by the input and allocates
// nothing. Stricter than Avro on two points the service never uses: arrays must come in
// blocks with a plain count (no negative count with a byte size), and booleans are 0 or 1.
class TallixAvroEncodingCheck {
 public:
  // Why the bytes are not exactly one value of the schema, or nothing when they are.
  static std::optional<std::string> problemIn(avro_schema_t schema,
                                              std::span<const std::uint8_t> bytes);

 private:
  explicit TallixAvroEncodingCheck(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

  bool value(avro_schema_t schema);
  bool record(avro_schema_t schema);
  bool array(avro_schema_t schema);
  bool unionBranch(avro_schema_t schema);
  bool enumIndex(avro_schema_t schema);
  bool boolean();
  bool lengthPrefixed();
  bool int32(std::int32_t& number);
  bool int64(std::int64_t& number);
  bool varint(std::uint64_t& raw, int maxBytes);
  bool skip(std::size_t count);
  std::size_t remaining() const { return bytes_.size() - position_; }
  bool refuse(std::string reason);

  std::span<const std::uint8_t> bytes_;
  std::size_t position_ = 0;
  std::string problem_;
};

}  // namespace tallix::avro
