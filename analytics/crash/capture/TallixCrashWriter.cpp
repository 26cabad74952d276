#include "analytics/crash/capture/TallixCrashWriter.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <thread>

#include "analytics/crash/capture/TallixCrashArena.h"
#include "analytics/crash/capture/TallixCrashFutex.h"
#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/TallixCrashReportBuilder.h"
#include "analytics/crash/capture/TallixCrashReportFileWriter.h"
#include "analytics/crash/capture/TallixCrashSymbolTables.h"
#include "analytics/crash/capture/TallixCrashThreads.h"

namespace tallix::crash {

namespace {

// Room for the report's messages: a few hundred threads of deep stacks. Pages are only backed
// once a report touches them.
constexpr std::size_t kArenaSize = 4 * 1024 * 1024;
// How long the other threads get to answer before those still silent are described from what
// the kernel shows of them.
constexpr std::int64_t kAnswerWindowNs = 100 * TallixCrashFutex::kMillisecond;
constexpr std::int64_t kIdleWaitNs = 3600'000 * TallixCrashFutex::kMillisecond;

struct Request {
  pid_t tid = 0;
  ucontext_t context{};
  siginfo_t signal{};
  bool isCrash = false;
  std::int64_t startNs = 0;
  char path[4096] = {};
};

TallixCrashWriterSetup writerSetup;
TallixCrashArena* arena = nullptr;
std::atomic<pid_t> writerTid{0};
std::atomic<std::uint32_t> wake{0};

Request crashRequest;
std::atomic<std::uint32_t> crashPosted{0};
std::atomic<std::uint32_t> crashDone{0};
std::atomic<bool> crashWritten{false};

Request liveRequest;
std::mutex liveMutex;
std::atomic<std::uint32_t> livePosted{0};
std::atomic<std::uint32_t> liveDone{0};
std::atomic<bool> liveWritten{false};

pid_t currentThreadId() {
  return static_cast<pid_t>(syscall(SYS_gettid));
}

std::int64_t realTimeNs() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// Only faults reach this thread; the process's other signals go to threads that expect them.
void blockAsynchronousSignals() {
  sigset_t blocked;
  sigfillset(&blocked);
  for (int fault : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGTRAP, SIGABRT, SIGSYS})
    sigdelset(&blocked, fault);
  pthread_sigmask(SIG_BLOCK, &blocked, nullptr);
}

bool capture(const Request& request, int descriptor) {
  const pid_t skipped[] = {request.tid, writerTid.load()};
  const std::size_t count =
      TallixCrashThreads::askAll(TallixCrashThreads::Request::kRecordContext, skipped, 2,
                                 TallixCrashFutex::nowNs() + kAnswerWindowNs);
  arena->reset();
  const TallixCrashMemory memory;
  TallixCrashMoment moment;
  moment.mainThread = request.tid;
  moment.mainContext = &request.context;
  moment.mainPcIsExact = request.isCrash;
  moment.signal = request.isCrash ? &request.signal : nullptr;
  moment.otherThreads = TallixCrashThreads::slots();
  moment.otherThreadCount = count;
  moment.realTimeNs = realTimeNs();
  TallixCrashReportBuilder builder(*writerSetup.process, *writerSetup.symbols,
                                   writerSetup.symbolSources, *arena);
  Tlxcrsh__CrashReport* report = builder.build(moment, memory);
  // The stacks are walked: the other threads may go on while the file is written.
  TallixCrashThreads::resumeAll();
  if (!report)
    return false;
  if (report->report_info) {
    report->report_info->has_capture_duration_ns = 1;
    report->report_info->capture_duration_ns =
        static_cast<std::uint64_t>(TallixCrashFutex::nowNs() - request.startNs);
  }
  return TallixCrashReportFileWriter::write(descriptor, *report);
}

bool writeCrashFile() {
  const int file = open(writerSetup.partialPath, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (file < 0)
    return false;
  bool written = capture(crashRequest, file) && fsync(file) == 0;
  close(file);
  written = written && rename(writerSetup.partialPath, writerSetup.pendingPath) == 0;
  if (!written)
    unlink(writerSetup.partialPath);
  if (const int directory = open(writerSetup.directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      directory >= 0) {
    fsync(directory);
    close(directory);
  }
  return written;
}

bool writeLiveFile() {
  // Opened here, by name, so a caller that gave up waiting and removed the file is not written
  // into through a descriptor it has since reused.
  const int file = open(liveRequest.path, O_WRONLY | O_TRUNC | O_CLOEXEC);
  if (file < 0)
    return false;
  const bool written = capture(liveRequest, file);
  close(file);
  return written;
}

}  // namespace

bool TallixCrashWriter::start(const TallixCrashWriterSetup& setup) {
  if (writerTid.load())
    return true;
  writerSetup = setup;
  static TallixCrashArena reportArena(kArenaSize);
  if (!reportArena.valid())
    return false;
  arena = &reportArena;
  std::thread(&TallixCrashWriter::run).detach();
  const std::int64_t deadline = TallixCrashFutex::nowNs() + 1000 * TallixCrashFutex::kMillisecond;
  while (!writerTid.load() && TallixCrashFutex::nowNs() < deadline)
    std::this_thread::yield();
  return writerTid.load() != 0;
}

pid_t TallixCrashWriter::threadId() {
  return writerTid.load(std::memory_order_acquire);
}

void TallixCrashWriter::run() {
  blockAsynchronousSignals();
  writerTid.store(currentThreadId(), std::memory_order_release);
  writerSetup.symbols->prepare();
  for (;;) {
    const std::uint32_t seen = wake.load(std::memory_order_acquire);
    if (crashPosted.load(std::memory_order_acquire) && !crashDone.load()) {
      crashWritten.store(writeCrashFile());
      crashDone.store(1, std::memory_order_release);
      TallixCrashFutex::wakeAll(crashDone);
      continue;
    }
    const std::uint32_t posted = livePosted.load(std::memory_order_acquire);
    if (posted != liveDone.load()) {
      writerSetup.symbols->prepare();
      liveWritten.store(writeLiveFile());
      liveDone.store(posted, std::memory_order_release);
      TallixCrashFutex::wakeAll(liveDone);
      continue;
    }
    TallixCrashFutex::waitWhileEqual(wake, seen, TallixCrashFutex::nowNs() + kIdleWaitNs);
  }
}

bool TallixCrashWriter::writeCrashReport(const siginfo_t& signal, const ucontext_t& context,
                                         std::int64_t signalTimeNs, std::int64_t deadlineNs) {
  if (!writerTid.load(std::memory_order_acquire))
    return false;
  crashRequest.tid = currentThreadId();
  std::memcpy(&crashRequest.context, &context, sizeof context);
  std::memcpy(&crashRequest.signal, &signal, sizeof signal);
  crashRequest.isCrash = true;
  crashRequest.startNs = signalTimeNs;
  crashPosted.store(1, std::memory_order_release);
  wake.fetch_add(1, std::memory_order_acq_rel);
  TallixCrashFutex::wakeAll(wake);
  return TallixCrashFutex::waitWhileEqual(crashDone, 0, deadlineNs) && crashWritten.load();
}

void TallixCrashWriter::abandonCrashReport() {
  crashWritten.store(false);
  crashDone.store(1, std::memory_order_release);
  TallixCrashFutex::wakeAll(crashDone);
}

bool TallixCrashWriter::writeLiveReport(const char* path, std::int64_t deadlineNs) {
  if (!writerTid.load(std::memory_order_acquire))
    return false;
  std::lock_guard lock(liveMutex);
  const std::uint32_t previous = liveDone.load(std::memory_order_acquire);
  liveRequest.tid = currentThreadId();
  liveRequest.isCrash = false;
  liveRequest.startNs = TallixCrashFutex::nowNs();
  std::snprintf(liveRequest.path, sizeof liveRequest.path, "%s", path);
  getcontext(&liveRequest.context);
  livePosted.store(previous + 1, std::memory_order_release);
  wake.fetch_add(1, std::memory_order_acq_rel);
  TallixCrashFutex::wakeAll(wake);
  return TallixCrashFutex::waitWhileEqual(liveDone, previous, deadlineNs) && liveWritten.load();
}

}  // namespace tallix::crash
