#pragma once

#include <signal.h>

namespace tallix::crash {

// Names for a signal and its si_code, as static strings a signal handler can point at.
class TallixCrashSignalText {
 public:
  static const char* name(int signal);
  static const char* code(int signal, int code);
};

}  // namespace tallix::crash
