#include "analytics/crash/capture/TallixCrashThreads.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "analytics/crash/capture/TallixCrashAltStack.h"
#include "analytics/crash/capture/TallixCrashFutex.h"

namespace tallix::crash {

namespace {

// A parked thread goes on by itself after this long, whatever happened to the writer.
constexpr std::int64_t kParkLimitNs = 2000 * TallixCrashFutex::kMillisecond;

TallixCrashThreadSlot* threadSlots = nullptr;
int signalNumber = 0;
std::atomic<std::uint32_t> currentRequest{0};
std::atomic<std::uint32_t> slotsInUse{0};
// Changes once per round; parked threads sleep on it.
std::atomic<std::uint32_t> resumeGeneration{0};
// The asker sleeps on it while answers come in.
std::atomic<std::uint32_t> answers{0};

struct linux_dirent64 {
  ino64_t d_ino;
  off64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[];
};

pid_t parseTid(const char* name) {
  pid_t tid = 0;
  for (; *name; ++name) {
    if (*name < '0' || *name > '9')
      return 0;
    tid = tid * 10 + (*name - '0');
  }
  return tid;
}

bool isSkipped(pid_t tid, const pid_t* skipped, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    if (skipped[i] == tid)
      return true;
  return false;
}

// Fills slots with the process's threads, straight from the kernel's directory entries.
std::size_t listThreads(const pid_t* skipped, std::size_t skippedCount) {
  const int directory = open("/proc/self/task", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0)
    return 0;
  std::size_t count = 0;
  alignas(linux_dirent64) char buffer[4096];
  for (;;) {
    const long length = syscall(SYS_getdents64, directory, buffer, sizeof buffer);
    if (length <= 0)
      break;
    for (long offset = 0; offset < length && count < TallixCrashThreads::kMaxThreads;) {
      const auto* entry = reinterpret_cast<const linux_dirent64*>(buffer + offset);
      offset += entry->d_reclen;
      const pid_t tid = parseTid(entry->d_name);
      if (tid <= 0 || isSkipped(tid, skipped, skippedCount))
        continue;
      TallixCrashThreadSlot& slot = threadSlots[count++];
      slot.answered.store(0, std::memory_order_relaxed);
      slot.tid.store(tid, std::memory_order_release);
    }
  }
  close(directory);
  return count;
}

TallixCrashThreadSlot* slotOf(pid_t tid) {
  const std::uint32_t used = slotsInUse.load(std::memory_order_acquire);
  for (std::uint32_t i = 0; i < used; ++i)
    if (threadSlots[i].tid.load(std::memory_order_acquire) == tid)
      return &threadSlots[i];
  return nullptr;
}

bool highestFreeSignal(int& chosen) {
  for (int candidate = SIGRTMAX; candidate >= SIGRTMIN; --candidate) {
    struct sigaction current {};
    if (sigaction(candidate, nullptr, &current) == 0 && !(current.sa_flags & SA_SIGINFO) &&
        current.sa_handler == SIG_DFL) {
      chosen = candidate;
      return true;
    }
  }
  return false;
}

}  // namespace

bool TallixCrashThreads::prepare() {
  if (!threadSlots) {
    void* memory = mmap(nullptr, sizeof(TallixCrashThreadSlot) * kMaxThreads,
                        PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
      return false;
    threadSlots = new (memory) TallixCrashThreadSlot[kMaxThreads];
  }
  if (signalNumber)
    return true;
  int chosen = 0;
  if (!highestFreeSignal(chosen))
    return false;
  struct sigaction action {};
  action.sa_sigaction = &TallixCrashThreads::handleRequest;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
  sigemptyset(&action.sa_mask);
  if (sigaction(chosen, &action, nullptr) != 0)
    return false;
  signalNumber = chosen;
  return true;
}

int TallixCrashThreads::requestSignal() {
  return signalNumber;
}

TallixCrashThreadSlot* TallixCrashThreads::slots() {
  return threadSlots;
}

std::size_t TallixCrashThreads::askAll(Request request, const pid_t* skipped,
                                       std::size_t skippedCount, std::int64_t deadlineNs) {
  if (!threadSlots || !signalNumber)
    return 0;
  slotsInUse.store(0, std::memory_order_release);
  const std::size_t count = listThreads(skipped, skippedCount);
  answers.store(0, std::memory_order_relaxed);
  currentRequest.store(static_cast<std::uint32_t>(request), std::memory_order_relaxed);
  slotsInUse.store(static_cast<std::uint32_t>(count), std::memory_order_release);
  const pid_t process = getpid();
  std::uint32_t asked = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (syscall(SYS_tgkill, process, threadSlots[i].tid.load(), signalNumber) == 0)
      ++asked;
    else
      threadSlots[i].tid.store(0, std::memory_order_release);  // gone since it was listed
  }
  for (std::uint32_t seen = answers.load(std::memory_order_acquire); seen < asked;
       seen = answers.load(std::memory_order_acquire)) {
    if (!TallixCrashFutex::waitWhileEqual(answers, seen, deadlineNs))
      break;
  }
  // Late answers find no request and go straight back.
  currentRequest.store(static_cast<std::uint32_t>(Request::kNone), std::memory_order_release);
  return count;
}

void TallixCrashThreads::resumeAll() {
  resumeGeneration.fetch_add(1, std::memory_order_acq_rel);
  TallixCrashFutex::wakeAll(resumeGeneration);
}

void TallixCrashThreads::handleRequest(int, siginfo_t*, void* context) {
  const int savedErrno = errno;
  // Read before the request: a resume that comes in between then ends the wait at once.
  const std::uint32_t generation = resumeGeneration.load(std::memory_order_acquire);
  const auto request = static_cast<Request>(currentRequest.load(std::memory_order_acquire));
  TallixCrashThreadSlot* slot =
      request == Request::kNone ? nullptr : slotOf(static_cast<pid_t>(syscall(SYS_gettid)));
  if (slot) {
    stack_t stack{};
    if (request == Request::kInstallAltStack) {
      if (TallixCrashAltStack::installOnCurrentThread(&stack))
        static_cast<ucontext_t*>(context)->uc_stack = stack;
    } else {
      std::memcpy(&slot->context, context, sizeof slot->context);
    }
    slot->answered.store(1, std::memory_order_release);
    answers.fetch_add(1, std::memory_order_acq_rel);
    TallixCrashFutex::wakeAll(answers);
    if (request == Request::kRecordContext)
      TallixCrashFutex::waitWhileEqual(resumeGeneration, generation,
                                       TallixCrashFutex::nowNs() + kParkLimitNs);
  }
  errno = savedErrno;
}

}  // namespace tallix::crash
