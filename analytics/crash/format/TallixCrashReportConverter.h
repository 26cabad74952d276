#pragma once

#include "analytics/crash/format/TallixCrashReportValues.h"
#include "crash_report.pb-c.h"

namespace tallix {

// Copies an unpacked message into plain values. protobuf-c has already checked the wire format,
// but the copy still takes no pointer or count on trust: a null where a message or a list should
// be reads as absent or empty.
class TallixCrashReportConverter {
 public:
  static TallixCrashReportContents contents(const Tlxcrsh__CrashReport& message);

 private:
  static TallixCrashReportSystem system(const Tlxcrsh__CrashReport__SystemInfo* info);
  static std::optional<TallixCrashReportMachine> machine(
      const Tlxcrsh__CrashReport__MachineInfo* info);
  static TallixCrashReportProcessor processor(const Tlxcrsh__CrashReport__Processor* processor);
  static TallixCrashReportApplication application(
      const Tlxcrsh__CrashReport__ApplicationInfo* info);
  static std::optional<TallixCrashReportProcess> process(
      const Tlxcrsh__CrashReport__ProcessInfo* info);
  static TallixCrashReportThread thread(const Tlxcrsh__CrashReport__Thread& thread);
  static TallixCrashReportFrame frame(const Tlxcrsh__CrashReport__Thread__StackFrame& frame);
  static TallixCrashReportImage image(const Tlxcrsh__CrashReport__BinaryImage& image);
  static std::optional<TallixCrashReportSignal> signal(const Tlxcrsh__CrashReport__Signal* signal);
  static std::optional<TallixCrashReportException> exception(
      const Tlxcrsh__CrashReport__Exception* exception);
  static TallixCrashReportInfo info(const Tlxcrsh__CrashReport__ReportInfo* info);
};

}  // namespace tallix
