#pragma once

#include <signal.h>
#include <sys/types.h>
#include <ucontext.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace tallix::crash {

// One thread of the process during a capture.
struct TallixCrashThreadSlot {
  std::atomic<pid_t> tid{0};
  std::atomic<std::uint32_t> answered{0};
  ucontext_t context{};
};

// Reaching every thread of the process without ptrace (which sandboxes and Yama often forbid):
// the thread list comes from /proc/self/task, and each thread is sent the reporter's request
// signal so that it does the work itself, in its own handler:
//   - kInstallAltStack: put up its alternate stack (threads that existed before enabling);
//   - kRecordContext: copy its registers into its slot, then park until `resumeAll`, so its
//     stack stays as it was while another thread walks it.
// Only one round runs at a time (the reporter's writer thread runs them all). A thread that
// blocks the signal never answers; every wait ends at a deadline, so it cannot hang a crash.
// Slots live in memory mapped when the reporter is enabled; the handler finds its own slot by
// its thread id, so nothing is allocated while threads are stopped.
class TallixCrashThreads {
 public:
  static constexpr std::size_t kMaxThreads = 512;
  enum class Request : std::uint32_t { kNone, kInstallAltStack, kRecordContext };

  // Maps the slots and installs the request signal's handler on the highest real-time signal
  // nobody handles. False when there is none or no memory.
  static bool prepare();
  static int requestSignal();

  // Sends `request` to every thread but the `skipped` ones and waits for their answers until
  // `deadlineNs` (monotonic). Returns the number of slots used; slots [0, n) hold the threads.
  static std::size_t askAll(Request request, const pid_t* skipped, std::size_t skippedCount,
                            std::int64_t deadlineNs);
  // Lets threads parked by kRecordContext go on.
  static void resumeAll();
  static TallixCrashThreadSlot* slots();

 private:
  static void handleRequest(int signal, siginfo_t* info, void* context);
};

}  // namespace tallix::crash
