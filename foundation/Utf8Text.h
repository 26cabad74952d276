#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace foundation {

// Any bytes as well-formed UTF-8. Each malformed sequence (the longest start of a character
// found there, at least one byte) becomes one U+FFFD, as decoding into a platform string
// would, so a damaged string keeps its readable rest.
class Utf8Text {
 public:
  // Cut to `maxCharacters` characters, a replaced sequence counting as one, so the cut also
  // bounds the bytes: four per character at most.
  static std::string wellFormed(std::string_view bytes,
                                std::size_t maxCharacters = std::string_view::npos);

 private:
  struct Sequence {
    std::size_t length;
    bool wellFormed;
  };
  static Sequence sequenceAt(std::string_view bytes, std::size_t at);
};

}  // namespace foundation
