#pragma once

namespace tallix::crash {

// Every thread needs its own alternate signal stack, including the threads that libraries
// start. The process's pthread_create is interposed (the executable exports it, so the dynamic
// linker binds every library's call to it): once activated, each new thread begins by putting
// up a stack and takes it down when its start routine ends. Threads created before activation
// get theirs from the reporter when it is enabled.
class TallixCrashThreadStartHook {
 public:
  static void activate();
  static bool active();
};

}  // namespace tallix::crash
