#include "foundation/Utf8Text.h"

#include <algorithm>
#include <cstdint>

namespace foundation {

namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

struct SequenceRule {
  std::uint8_t firstLead, lastLead;
  std::size_t length;
  // The second byte's bounds shut out overlong forms, surrogates and code points above
  // U+10FFFF; later bytes are plain continuation bytes.
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

const SequenceRule* ruleForLead(char lead) {
  const auto* rule = std::ranges::find_if(kRules, [lead](const SequenceRule& rule) {
    return inRange(lead, rule.firstLead, rule.lastLead);
  });
  return rule == std::end(kRules) ? nullptr : rule;
}

bool continues(const SequenceRule& rule, std::size_t index, char byte) {
  return index == 1 ? inRange(byte, rule.secondLow, rule.secondHigh) : inRange(byte, 0x80, 0xBF);
}

}  // namespace

std::string Utf8Text::wellFormed(std::string_view bytes, std::size_t maxCharacters) {
  std::string text;
  text.reserve(bytes.size());
  std::size_t at = 0;
  for (std::size_t characters = 0; at < bytes.size() && characters < maxCharacters; ++characters) {
    const Sequence sequence = sequenceAt(bytes, at);
    text += sequence.wellFormed ? bytes.substr(at, sequence.length) : kReplacementCharacter;
    at += sequence.length;
  }
  return text;
}

Utf8Text::Sequence Utf8Text::sequenceAt(std::string_view bytes, std::size_t at) {
  const SequenceRule* rule = ruleForLead(bytes[at]);
  if (!rule)
    return {1, false};
  std::size_t length = 1;
  while (length < rule->length && at + length < bytes.size() &&
         continues(*rule, length, bytes[at + length]))
    ++length;
  return {length, length == rule->length};
}

}  // namespace foundation
