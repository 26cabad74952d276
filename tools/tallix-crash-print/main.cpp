// tallix-crash-print: shows a stored crash report as text.
//
//   tallix-crash-print FILE
//
// Prints the report to standard output. A file that does not read as a crash report gets one
// line on standard error naming the file and the reason, and exit status 1.

#include <iostream>
#include <string>

#include "analytics/crash/format/TallixCrashReport.h"
#include "analytics/crash/format/TallixCrashReportTextFormatter.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tallix-crash-print FILE\n";
    return 2;
  }
  std::string error;
  const auto report = tallix::TallixCrashReport::load(argv[1], error);
  if (!report) {
    std::cerr << "tallix-crash-print: " << argv[1] << ": " << error << '\n';
    return 1;
  }
  std::cout << tallix::TallixCrashReportTextFormatter::format(*report);
  return 0;
}
