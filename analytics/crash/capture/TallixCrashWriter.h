#pragma once

#include <signal.h>
#include <sys/types.h>
#include <ucontext.h>

#include <cstdint>

namespace tallix::crash {

class TallixCrashSymbolTables;
struct TallixCrashProcessSnapshot;

// Where a crash report goes: written to `partialPath`, then renamed to `pendingPath`, so that a
// crash while writing never leaves a file the next launch takes for a whole report.
struct TallixCrashWriterSetup {
  const TallixCrashProcessSnapshot* process = nullptr;
  TallixCrashSymbolTables* symbols = nullptr;
  unsigned symbolSources = 0;
  const char* pendingPath = nullptr;
  const char* partialPath = nullptr;
  const char* directory = nullptr;
};

// The thread that writes reports, started when the reporter is enabled. A crashing thread only
// copies its signal and registers into static storage and wakes this thread, which has a whole
// stack of its own, stops the other threads, walks every stack and writes the file while the
// crashing thread waits (until a deadline). Live reports take the same path, one at a time.
// Between reports the thread maps the symbol tables of newly loaded modules.
class TallixCrashWriter {
 public:
  static bool start(const TallixCrashWriterSetup& setup);
  static pid_t threadId();

  // From the crashing thread's signal handler. True when the report was written.
  static bool writeCrashReport(const siginfo_t& signal, const ucontext_t& context,
                               std::int64_t signalTimeNs, std::int64_t deadlineNs);
  // From the writer's own signal handler: the crashing thread stops waiting for its report.
  static void abandonCrashReport();
  // From any thread outside a signal handler: a report of this moment into the existing file at
  // `path`.
  static bool writeLiveReport(const char* path, std::int64_t deadlineNs);

 private:
  static void run();
};

}  // namespace tallix::crash
