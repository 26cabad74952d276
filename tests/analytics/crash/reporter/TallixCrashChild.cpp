// A program that enables the crash reporter and then crashes the way its arguments say:
//   tallix_crash_child <segv|bus|ill|fpe|abrt|trap|overflow> <main|worker|library>
//   <none|before|after>
// The last argument installs a handler of another library before or after the reporter's; it
// writes "foreign" to standard output when it runs and then lets the signal go on.
#include <fcntl.h>
#include <glib.h>
#include <malloc.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "analytics/crash/reporter/TallixCrashReporter.h"
#include "tests/analytics/crash/WaitingThreads.h"

namespace {

using namespace tallix::crash;

constexpr int kFatalSignals[] = {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT, SIGTRAP};
struct sigaction foreignPrevious[NSIG];

// The crashes are made of undefined behaviour on purpose: the sanitizer must let them happen.
#define CRASHING __attribute__((noinline, no_sanitize("undefined")))

// Read through a volatile pointer so the compiler cannot prove the faulting store away.
int* volatile nowhere = nullptr;

bool faultAfterChaining = false;

CRASHING void foreignHandler(int signal, siginfo_t* info, void* context) {
  static const char kMark[] = "foreign\n";
  (void)!write(STDOUT_FILENO, kMark, sizeof kMark - 1);
  const struct sigaction& previous = foreignPrevious[signal];
  if (previous.sa_flags & SA_SIGINFO) {
    previous.sa_sigaction(signal, info, context);
    if (faultAfterChaining)
      *nowhere = 2;
    return;
  }
  // Whatever came before is put back: a fault happens again, a sent signal is sent again.
  sigaction(signal, &previous, nullptr);
  if (info->si_code <= 0 || signal == SIGTRAP || signal == SIGABRT)
    raise(signal);
}

void installForeignHandler() {
  struct sigaction action {};
  action.sa_sigaction = &foreignHandler;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  for (int signal : kFatalSignals)
    sigaction(signal, &action, &foreignPrevious[signal]);
}

CRASHING void crashBySegv() {
  *nowhere = 1;
}

CRASHING void crashByBus() {
  FILE* empty = tmpfile();
  auto* mapped = static_cast<volatile char*>(
      mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_SHARED, fileno(empty), 0));
  mapped[0] = 1;
}

CRASHING void crashByIll() {
  __builtin_trap();
}

CRASHING void crashByFpe() {
  volatile int zero = 0;
  volatile int seven = 7;
  volatile int result = seven / zero;
  (void)result;
}

CRASHING void crashByAbrt() {
  abort();
}

CRASHING void crashByTrap() {
  asm volatile("int3");
}

volatile bool deeper = true;

CRASHING int overflowStack(int depth) {
  volatile char frame[512];
  frame[0] = static_cast<char>(depth);
  return (deeper ? overflowStack(depth + 1) : 0) + frame[0];
}

CRASHING void crashByOverflow() {
  overflowStack(0);
}

CRASHING void crashInTwoThreads() {
  static std::atomic<int> ready{0};
  auto fault = [] {
    pthread_setname_np(pthread_self(), "crasher");
    ++ready;
    while (ready.load() < 2) {
    }
    crashBySegv();
  };
  std::thread first(fault), second(fault);
  first.join();
  second.join();
}

CRASHING void corruptHeapAndAllocate() {
  // Volatile, or the compiler drops allocations nobody reads. The second free finds the
  // block already in the free list and malloc aborts the process.
  void* volatile block = malloc(64);
  free(block);
  free(block);
  asm volatile("");  // keeps the last call a call, so this frame stays on the stack
}

// malloc_info writes its report while it holds the main arena's lock; a full pipe that
// nobody reads keeps it there.
CRASHING void crashWhileAllocatorLockHeld() {
  int fds[2];
  if (pipe(fds) != 0)
    return;
  fcntl(fds[1], F_SETFL, O_NONBLOCK);
  const char filler[4096] = {};
  while (write(fds[1], filler, sizeof filler) > 0) {
  }
  fcntl(fds[1], F_SETFL, 0);
  FILE* blocked = fdopen(fds[1], "w");
  std::thread([blocked] { malloc_info(0, blocked); }).detach();
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  crashBySegv();
}

std::function<void()> chooseCrash(const std::string& kind) {
  if (kind == "twothreads")
    return crashInTwoThreads;
  if (kind == "heap")
    return corruptHeapAndAllocate;
  if (kind == "mallocheld")
    return crashWhileAllocatorLockHeld;
  if (kind == "segv")
    return crashBySegv;
  if (kind == "bus")
    return crashByBus;
  if (kind == "ill")
    return crashByIll;
  if (kind == "fpe")
    return crashByFpe;
  if (kind == "abrt")
    return crashByAbrt;
  if (kind == "trap")
    return crashByTrap;
  if (kind == "overflow")
    return crashByOverflow;
  return nullptr;
}

std::atomic<bool> go{false};

// Started by GLib before the reporter is enabled, so it gets its alternate stack from the
// reporter's round of the existing threads rather than at its start.
gpointer crashOnLibraryThread(gpointer crash) {
  pthread_setname_np(pthread_self(), "crasher");
  while (!go.load())
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  (*static_cast<std::function<void()>*>(crash))();
  return nullptr;
}

}  // namespace

// A sanitizer would otherwise take these signals first and end the child its own way.
#define TALLIX_LEAVE_SIGNALS_ALONE                                                \
  "handle_segv=0:handle_sigbus=0:handle_sigill=0:handle_sigfpe=0:handle_abort=0:" \
  "use_sigaltstack=0"
#if defined(__SANITIZE_ADDRESS__)
extern "C" const char* __asan_default_options() {
  return TALLIX_LEAVE_SIGNALS_ALONE;
}
#endif
#if defined(__SANITIZE_THREAD__)
extern "C" const char* __tsan_default_options() {
  return TALLIX_LEAVE_SIGNALS_ALONE;
}
#endif

int main(int argc, char** argv) {
  if (argc != 4)
    return 2;
  std::function<void()> crash = chooseCrash(argv[1]);
  const std::string thread = argv[2];
  const std::string foreign = argv[3];
  if (!crash)
    return 2;
  tallix::startWaitingThreads(2);
  GThread* library =
      thread == "library" ? g_thread_new("crasher", &crashOnLibraryThread, &crash) : nullptr;
  if (foreign == "before")
    installForeignHandler();
  TallixCrashReporter reporter(
      TallixCrashReporterConfig(TallixCrashSignalHandlerType::kBsd, kSymbolicationAll)
          .withApplication("org.orvane/crash-child", "1.0"));
  std::string error;
  if (!reporter.enableCrashReporter(error)) {
    std::fprintf(stderr, "enable: %s\n", error.c_str());
    return 3;
  }
  if (foreign == "after" || foreign == "faulting") {
    faultAfterChaining = foreign == "faulting";
    installForeignHandler();
  }
  if (thread == "main") {
    crash();
  } else if (thread == "worker") {
    std::thread([&] {
      pthread_setname_np(pthread_self(), "crasher");
      crash();
    }).join();
  } else if (library) {
    go.store(true);
    g_thread_join(library);
  }
  return 4;
}
