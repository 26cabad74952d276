#include "analytics/crash/capture/TallixCrashSignalHandler.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "analytics/crash/capture/TallixCrashFutex.h"
#include "analytics/crash/capture/TallixCrashThreads.h"
#include "analytics/crash/capture/TallixCrashWriter.h"

namespace tallix::crash {

namespace {

constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};
// How long a crashing thread waits for its report, and others wait for that one.
constexpr std::int64_t kReportDeadlineNs = 5000 * TallixCrashFutex::kMillisecond;
constexpr std::int64_t kGraceNs = 1000 * TallixCrashFutex::kMillisecond;

struct sigaction previousActions[NSIG];
std::atomic<pid_t> crashingThread{0};
std::atomic<std::uint32_t> crashFinished{0};
pid_t installingProcess = 0;

pid_t currentThreadId() {
  return static_cast<pid_t>(syscall(SYS_gettid));
}

// A fault raised by the kernel happens again on return; anything sent must be sent again.
bool recursOnReturn(int signal, const siginfo_t& info) {
  const bool fault = signal == SIGSEGV || signal == SIGBUS || signal == SIGILL || signal == SIGFPE;
  return fault && info.si_code > 0 && info.si_code != SI_KERNEL;
}

}  // namespace

std::string TallixCrashSignalHandler::install() {
  installingProcess = getpid();
  struct sigaction action {};
  action.sa_sigaction = &TallixCrashSignalHandler::handle;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  // A crashing thread must not be parked by a capture that another report started.
  sigaddset(&action.sa_mask, TallixCrashThreads::requestSignal());
  for (int signal : kFatalSignals) {
    if (sigaction(signal, &action, &previousActions[signal]) != 0)
      return std::string("Could not install the handler of signal ") + std::to_string(signal) +
             ": " + std::strerror(errno);
  }
  return {};
}

void TallixCrashSignalHandler::handle(int signal, siginfo_t* info, void* context) {
  const std::int64_t signalTime = TallixCrashFutex::nowNs();
  const int savedErrno = errno;
  const pid_t self = currentThreadId();
  pid_t expected = 0;
  if (getpid() != installingProcess) {
    // A child forked without exec has no writer thread: it dies as it would without us.
    handOnAndReturn(signal, *info);
  } else if (self == TallixCrashWriter::threadId() && info->si_code <= 0) {
    // Sent to the process (kill -SEGV) and delivered to the writer, which is needed to write
    // the report: the main thread takes it instead.
    syscall(SYS_tgkill, installingProcess, installingProcess, signal);
  } else if (crashingThread.compare_exchange_strong(expected, self)) {
    if (self != TallixCrashWriter::threadId())
      TallixCrashWriter::writeCrashReport(*info, *static_cast<const ucontext_t*>(context),
                                          signalTime, signalTime + kReportDeadlineNs);
    crashFinished.store(1, std::memory_order_release);
    TallixCrashFutex::wakeAll(crashFinished);
    handOnAndReturn(signal, *info);
  } else if (expected == self) {
    // A fault inside this handler, or a second signal of the same thread.
    handOnAndReturn(signal, *info);
  } else {
    // The writer faulted while writing: the crashing thread stops waiting and dies.
    if (self == TallixCrashWriter::threadId())
      TallixCrashWriter::abandonCrashReport();
    TallixCrashFutex::waitWhileEqual(crashFinished, 0, signalTime + kReportDeadlineNs);
    // The first thread is ending the process with its own signal; let it get there first.
    static std::atomic<std::uint32_t> never{0};
    TallixCrashFutex::waitWhileEqual(never, 0, TallixCrashFutex::nowNs() + kGraceNs);
    handOnAndReturn(signal, *info);
  }
  errno = savedErrno;
}

void TallixCrashSignalHandler::handOnAndReturn(int signal, const siginfo_t& info) {
  sigaction(signal, &previousActions[signal], nullptr);
  if (!recursOnReturn(signal, info))
    syscall(SYS_tgkill, getpid(), currentThreadId(), signal);
}

}  // namespace tallix::crash
