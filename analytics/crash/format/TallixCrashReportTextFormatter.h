#pragma once

#include <iosfwd>
#include <string>

#include "analytics/crash/format/TallixCrashReport.h"

namespace tallix {

// The report as text for a person: who crashed and how, the crashed thread first with its
// registers, the other threads, then the loaded modules. Each frame reads
// "#N  0xPC  module+0xOFFSET  symbol+0xOFFSET", with "???" for what the report does not know.
class TallixCrashReportTextFormatter {
 public:
  static std::string format(const TallixCrashReport& report);

 private:
  explicit TallixCrashReportTextFormatter(const TallixCrashReport& report, std::ostream& out)
      : report_(report), out_(out) {}

  void header();
  void cause();
  void threads();
  void thread(const TallixCrashReportThread& thread);
  void frames(const TallixCrashReportThread& thread);
  void registers(const TallixCrashReportThread& thread);
  void images();
  void line(const char* label, const std::string& value);

  const TallixCrashReport& report_;
  std::ostream& out_;
};

}  // namespace tallix
