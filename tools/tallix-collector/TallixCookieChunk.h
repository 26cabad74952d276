#pragma once

#include <string>

#include "tools/tallix-collector/TallixAnswerSettings.h"

namespace tallix {

// The answer body that hands cookies to the agent: chunk type 0x11E, a 32-bit value and two
// bytes the agent skips, a 16-bit count, then each key and value with a 16-bit length.
class TallixCookieChunk {
 public:
  static constexpr std::uint16_t kChunkType = 0x11E;

  // Empty for no cookies: the agent reads an empty answer as nothing to keep.
  static std::string encode(const TallixAnswerSettings::Cookies& cookies);

 private:
  static void appendUshort(std::size_t value, std::string& chunk);
  static void appendShortText(const std::string& text, std::string& chunk);
};

}  // namespace tallix
