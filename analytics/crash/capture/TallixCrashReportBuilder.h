#pragma once

#include <signal.h>
#include <sys/types.h>
#include <ucontext.h>

#include <cstdint>
#include <span>

#include "analytics/crash/capture/unwind/TallixCrashCodeRange.h"
#include "crash_report.pb-c.h"

namespace tallix::crash {

class TallixCrashArena;
class TallixCrashImageList;
class TallixCrashMemory;
class TallixCrashSymbolTables;
struct TallixCrashProcessSnapshot;
struct TallixCrashThreadSlot;

// The moment a report describes: the thread that crashed (or asked for a live report) with its
// registers, the signal when there is one, and the other threads as they answered.
struct TallixCrashMoment {
  pid_t mainThread = 0;
  const ucontext_t* mainContext = nullptr;
  // False when the main context came from getcontext, whose pc is a return address.
  bool mainPcIsExact = true;
  const siginfo_t* signal = nullptr;
  const TallixCrashThreadSlot* otherThreads = nullptr;
  std::size_t otherThreadCount = 0;
  std::int64_t realTimeNs = 0;
};

// Fills the report message from a moment, in arena memory only: threads walked and named
// frame by frame, modules from the loader's list, what the process snapshot recorded before.
class TallixCrashReportBuilder {
 public:
  static constexpr std::size_t kMaxFrames = 128;

  TallixCrashReportBuilder(const TallixCrashProcessSnapshot& process,
                           const TallixCrashSymbolTables& symbols, unsigned symbolSources,
                           TallixCrashArena& arena)
      : process_(process), symbols_(symbols), symbolSources_(symbolSources), arena_(arena) {}

  // Nullptr when the arena cannot hold even the report's frame.
  Tlxcrsh__CrashReport* build(const TallixCrashMoment& moment, const TallixCrashMemory& memory);

 private:
  template <typename Message>
  Message* message(void (*init)(Message*));
  Tlxcrsh__CrashReport__Processor* processor();
  void describeSystem(Tlxcrsh__CrashReport& report, const TallixCrashMoment& moment);
  void describeProcess(Tlxcrsh__CrashReport& report);
  void describeImages(Tlxcrsh__CrashReport& report, const TallixCrashImageList& images);
  void describeThreads(Tlxcrsh__CrashReport& report, const TallixCrashMoment& moment,
                       const TallixCrashImageList& images, const TallixCrashMemory& memory);
  Tlxcrsh__CrashReport__Thread* describeThread(pid_t tid, const ucontext_t* context, bool pcIsExact,
                                               const TallixCrashImageList& images,
                                               const TallixCrashMemory& memory);
  void describeSignal(Tlxcrsh__CrashReport& report, const siginfo_t& signal);
  void describeException(Tlxcrsh__CrashReport& report);
  void describeReport(Tlxcrsh__CrashReport& report, const TallixCrashMoment& moment);

  const TallixCrashProcessSnapshot& process_;
  const TallixCrashSymbolTables& symbols_;
  unsigned symbolSources_;
  TallixCrashArena& arena_;
  std::span<const TallixCrashCodeRange> codeRanges_;
};

}  // namespace tallix::crash
