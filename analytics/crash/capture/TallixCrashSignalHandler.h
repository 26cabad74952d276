#pragma once

#include <signal.h>

#include <string>

namespace tallix::crash {

// The handlers of the fatal signals (SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP).
//
// Design: one atomic word says which thread is crashing (0 while none). The first thread to
// claim it hands its signal and registers to the writer thread and waits for the report, at
// most a few seconds. Any other thread that faults meanwhile parks until the first is done
// and then dies of its own signal; a fault in the writer (or again in the crashing thread,
// inside this handler) skips the report. Then the previous handler is put back and the signal
// delivered again: a fault simply happens again when the handler returns, a sent signal is
// re-sent with tgkill. So the process still dies of its original signal (exit status, core
// dump and the desktop's crash catcher see what they always saw), and a handler installed
// before ours still runs. Runs on the thread's alternate stack, with system calls only.
class TallixCrashSignalHandler {
 public:
  // Installs the handlers; an empty string on success, else the reason.
  static std::string install();

 private:
  static void handle(int signal, siginfo_t* info, void* context);
  static void handOnAndReturn(int signal, const siginfo_t& info);
};

}  // namespace tallix::crash
