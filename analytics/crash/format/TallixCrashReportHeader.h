#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace tallix {

// The 8 bytes in front of the message: the magic "tlxcrsh" and the format version.
class TallixCrashReportHeader {
 public:
  using Bytes = std::span<const std::uint8_t>;

  static constexpr std::size_t kSize = 8;
  static constexpr std::uint8_t kVersion = 1;

  // The header itself, as a writer puts it in front of the message.
  static const std::uint8_t* bytes();
  // The message bytes after a valid header, or nothing with the reason in `error`.
  static std::optional<Bytes> body(Bytes report, std::string& error);
};

}  // namespace tallix
