#pragma once

#include <signal.h>

#include <cstddef>

namespace tallix::crash {

// The alternate signal stack each thread needs so that a stack overflow can still be reported:
// the handler cannot run on the stack that just overflowed. Mapped with a guard page below it,
// sized from the kernel's minimum (which grows with the CPU's vector state) and never smaller
// than 64 KiB. Only system calls, so it can be called from a signal handler.
class TallixCrashAltStack {
 public:
  // Gives the calling thread a stack of ours unless it already has one. True when it has one
  // afterwards; `installed` then describes it. A signal handler that calls this must copy
  // `installed` into its context's uc_stack: returning from the handler restores the
  // alternate stack that was set when it started.
  static bool installOnCurrentThread(stack_t* installed = nullptr);
  // Takes ours off the calling thread and unmaps it; another's stack is left alone.
  static void removeFromCurrentThread();
  static std::size_t size();
};

}  // namespace tallix::crash
