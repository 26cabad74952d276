#pragma once

#include <string_view>

namespace tallix {

// The agent's console lines. Refusals of the application's calls print at any level above 0;
// everything else needs level 2 (debug). The level is process-wide, as the console is.
class TallixLog {
 public:
  static constexpr int kRefusalLevel = 1;
  static constexpr int kDebugLevel = 2;

  static int logLevel();
  static void setLogLevel(int level);

  static void refusal(const char* format, ...) __attribute__((format(printf, 1, 2)));
  static void debug(const char* format, ...) __attribute__((format(printf, 1, 2)));
  static bool debugEnabled();
};

}  // namespace tallix
