#pragma once

#include <string_view>

namespace foundation {

// The application's diagnostics: plain single lines on standard output, no levels, no file.
// Lines from different threads never interleave.
class Console {
 public:
  static void line(std::string_view text);
};

}  // namespace foundation
