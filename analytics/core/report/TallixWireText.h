#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tallix {

// The text a report string may carry, whatever bytes the application passed: well-formed
// UTF-8 cut to a number of characters. Each malformed sequence counts as one character and
// becomes U+FFFD, as decoding into a platform string would, so the cut also bounds the bytes
// (four per character at most) and the 16-bit length field cannot wrap.
class TallixWireText {
 public:
  static std::string limited(std::string_view bytes, std::size_t maxCharacters);

 private:
  struct Sequence {
    std::size_t length;
    bool wellFormed;
  };
  // The character starting at `at`, or the longest start of one found there when it is
  // malformed (at least one byte), so a broken sequence is replaced once, not byte by byte.
  static Sequence sequenceAt(std::string_view bytes, std::size_t at);
};

}  // namespace tallix
