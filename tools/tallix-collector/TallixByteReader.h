#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tallix {

// Reads the report format's big-endian values one after another. Every read is checked against
// what is left and names the field it reads, so a short body is rejected with a reason a
// person can act on rather than read out of bounds.
class TallixByteReader {
 public:
  using Bytes = std::span<const std::uint8_t>;

  explicit TallixByteReader(Bytes data) : data_(data) {}

  std::uint8_t byte(std::string_view field);
  // Only 0 and 1: any other value means the writer and this reader disagree on the layout.
  bool boolean(std::string_view field);
  std::uint16_t ushort(std::string_view field);
  std::int32_t int32(std::string_view field);
  std::int64_t int64(std::string_view field);
  float float32(std::string_view field);
  double float64(std::string_view field);
  // A 16-bit byte count, then the bytes.
  std::string_view string(std::string_view field);
  Bytes shortData(std::string_view field);
  Bytes largeData(std::string_view field);

  std::size_t offset() const { return offset_; }
  std::size_t remaining() const { return data_.size() - offset_; }

 private:
  Bytes take(std::size_t size, std::string_view field);
  template <typename Unsigned>
  Unsigned bigEndian(std::string_view field);

  Bytes data_;
  std::size_t offset_ = 0;
};

}  // namespace tallix
