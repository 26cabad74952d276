// The crash reporter's three costs, each in a process with 20 threads besides its main one:
//   - a fatal signal until its report is complete on disk (renamed into place), in children
//     that really crash, timed from just before the faulting write to the rename's inotify event;
//   - a live report, in this process;
//   - enabling at session start, and the resident memory the reporter holds afterwards.
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "LatencyFigure.h"
#include "analytics/crash/reporter/TallixCrashReporter.h"
#include "tests/analytics/crash/WaitingThreads.h"

namespace {

using namespace tallix::crash;
using Clock = std::chrono::steady_clock;

constexpr int kThreads = 20;
constexpr int kRounds = 30;

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

TallixCrashReporter makeReporter() {
  return TallixCrashReporter(
      TallixCrashReporterConfig(TallixCrashSignalHandlerType::kBsd, kSymbolicationAll)
          .withApplication("org.orvane.crash-bench", "1.0"));
}

long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string key;
  long value = 0;
  while (status >> key) {
    if (key == "VmRSS:") {
      status >> value;
      return value;
    }
    status.ignore(1 << 16, '\n');
  }
  return 0;
}

// Shared with the children: when each was about to crash, and what enabling cost it.
struct Shared {
  std::atomic<std::int64_t> crashStartNs{0};
  std::atomic<std::int64_t> enableNs{0};
  std::atomic<long> heldKilobytes{0};
};

std::int64_t nowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
      .count();
}

[[noreturn]] void crashingChild(Shared& shared) {
  tallix::startWaitingThreads(kThreads);
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  TallixCrashReporter reporter = makeReporter();
  std::string error;
  const long before = residentKilobytes();
  const std::int64_t start = nowNs();
  if (!reporter.enableCrashReporter(error))
    _exit(3);
  shared.enableNs = nowNs() - start;
  // Let the writer map the modules' symbol tables, as it does once after enabling.
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  shared.heldKilobytes = residentKilobytes() - before;
  shared.crashStartNs = nowNs();
  *static_cast<volatile int*>(nullptr) = 1;
  _exit(4);
}

void measureCrashes(const std::filesystem::path& folder) {
  auto* shared = static_cast<Shared*>(
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  std::vector<double> crashes, enables, held;
  const int watch = inotify_init1(IN_CLOEXEC);
  inotify_add_watch(watch, folder.c_str(), IN_MOVED_TO);
  for (int round = 0; round < kRounds; ++round) {
    new (shared) Shared();
    const pid_t child = fork();
    if (child == 0)
      crashingChild(*shared);
    alignas(inotify_event) char events[4096];
    const bool written = read(watch, events, sizeof events) > 0;
    const std::int64_t doneNs = nowNs();
    int status = 0;
    waitpid(child, &status, 0);
    if (!written || !WIFSIGNALED(status) || WTERMSIG(status) != SIGSEGV) {
      std::printf("round %d: no report or no SIGSEGV (status %d)\n", round, status);
      continue;
    }
    crashes.push_back(double(doneNs - shared->crashStartNs) / 1e6);
    enables.push_back(double(shared->enableNs) / 1e6);
    held.push_back(double(shared->heldKilobytes) / 1024.0);
    std::filesystem::remove(folder / TallixCrashReportPaths::kPendingReportName);
  }
  close(watch);
  bench::printLatencyFigure("fatal signal -> report on disk (20 threads)", crashes);
  bench::printLatencyFigure("enable at session start (20 threads)", enables);
  std::sort(held.begin(), held.end());
  if (!held.empty())
    std::printf("%-44s median %6.2f MiB  max %6.2f MiB\n", "resident memory held after enabling",
                held[held.size() / 2], held.back());
}

void measureLiveReports() {
  tallix::startWaitingThreads(kThreads);
  TallixCrashReporter reporter = makeReporter();
  std::string error;
  if (!reporter.enableCrashReporter(error)) {
    std::printf("enable: %s\n", error.c_str());
    return;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  std::vector<double> live;
  std::size_t bytes = 0;
  for (int round = 0; round < kRounds * 2; ++round) {
    const auto start = Clock::now();
    const auto report = reporter.generateLiveReport(error);
    live.push_back(millisecondsSince(start));
    bytes = report ? report->size() : 0;
  }
  bench::printLatencyFigure("live report (20 threads)", live);
  std::printf("%-44s %zu bytes\n", "live report size", bytes);
}

}  // namespace

int main() {
  const auto cache =
      std::filesystem::temp_directory_path() / ("tallix-crash-bench-" + std::to_string(getpid()));
  setenv("XDG_CACHE_HOME", cache.c_str(), 1);
  const TallixCrashReportPaths paths("org.orvane.crash-bench");
  paths.create();
  measureCrashes(paths.directory());
  measureLiveReports();
  std::filesystem::remove_all(cache);
  return 0;
}
