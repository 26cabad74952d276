#pragma once

#include <string>
#include <string_view>

namespace tallix {

// JSON text must be UTF-8, but a report can carry any bytes in its strings. Invalid sequences
// become U+FFFD, so the rest of a damaged string can still be read.
class TallixUtf8Text {
 public:
  static std::string sanitized(std::string_view bytes);

 private:
  // The length of the valid sequence starting at `at`, or 0 when there is none.
  static std::size_t validSequenceLength(std::string_view bytes, std::size_t at);
};

}  // namespace tallix
