#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace foundation {

// Standard base64 with padding (RFC 4648), strict on decoding: archives read from disk may be
// damaged, so anything but canonical input is refused.
class Base64 {
 public:
  static std::string encode(std::span<const std::uint8_t> data);
  static std::optional<std::vector<std::uint8_t>> decode(std::string_view text);
};

}  // namespace foundation
