// Writes the fuzzer's seed corpus: a crash report and a live report, as the capture side
// would store them.
//
//   tallix_crash_report_seeds DIR
#include <fstream>
#include <iostream>
#include <string>

#include "tests/analytics/crash/format/TallixCrashReportBuilder.h"

namespace {

void write(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "usage: tallix_crash_report_seeds DIR\n";
    return 2;
  }
  const std::string directory = argv[1];
  tallix::TallixCrashReportBuilder builder;
  write(directory + "/crash.tlxcrsh", builder.bytes());
  builder.makeLive();
  write(directory + "/live.tlxcrsh", builder.bytes());
  return 0;
}
