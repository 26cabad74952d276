#pragma once

namespace tallix::crash {

// A C++ exception that nobody catches ends in std::terminate and then abort(): by the time the
// SIGABRT handler runs, the exception is gone. This hook notes its type and message first, so
// the report can say what was thrown, then hands over to the terminate handler it replaced.
class TallixCrashTerminateHook {
 public:
  static void install();
  // The mangled type name and what() of the exception being terminated on; empty otherwise.
  static const char* exceptionType();
  static const char* exceptionReason();
};

}  // namespace tallix::crash
