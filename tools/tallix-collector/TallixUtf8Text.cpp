#include "tools/tallix-collector/TallixUtf8Text.h"

#include <cstdint>

namespace tallix {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

struct SequenceRule {
  std::uint8_t firstLead, lastLead;
  std::size_t length;
  // Bounds of the second byte: they exclude overlong forms, surrogates and code points
  // above U+10FFFF.
  std::uint8_t secondLow, secondHigh;
};

constexpr SequenceRule kRules[] = {
    {0x00, 0x7F, 1, 0x00, 0x00}, {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
    {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
    {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
};

bool inRange(char byte, std::uint8_t low, std::uint8_t high) {
  const auto value = static_cast<std::uint8_t>(byte);
  return value >= low && value <= high;
}

}  // namespace

std::string TallixUtf8Text::sanitized(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = validSequenceLength(bytes, at);
    if (length == 0) {
      text += kReplacementCharacter;
      ++at;
      continue;
    }
    text += bytes.substr(at, length);
    at += length;
  }
  return text;
}

std::size_t TallixUtf8Text::validSequenceLength(std::string_view bytes, std::size_t at) {
  for (const SequenceRule& rule : kRules) {
    if (!inRange(bytes[at], rule.firstLead, rule.lastLead))
      continue;
    if (rule.length == 1)
      return 1;
    if (bytes.size() - at < rule.length || !inRange(bytes[at + 1], rule.secondLow, rule.secondHigh))
      return 0;
    for (std::size_t next = 2; next < rule.length; ++next) {
      if (!inRange(bytes[at + next], 0x80, 0xBF))
        return 0;
    }
    return rule.length;
  }
  return 0;
}

}  // namespace tallix
