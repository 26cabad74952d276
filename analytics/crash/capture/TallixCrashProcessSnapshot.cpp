#include "analytics/crash/capture/TallixCrashProcessSnapshot.h"

#include <sys/auxv.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace tallix::crash {

namespace {

void copyText(char* out, std::size_t size, const std::string& text) {
  std::snprintf(out, size, "%s", text.c_str());
}

std::string firstLine(const char* path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return line;
}

// /proc/self/stat gives the start in clock ticks after boot; /proc/stat gives the boot time.
std::int64_t readProcessStartTime() {
  const std::string stat = firstLine("/proc/self/stat");
  const auto afterName = stat.rfind(')');
  if (afterName == std::string::npos)
    return 0;
  std::istringstream fields(stat.substr(afterName + 2));
  std::string field;
  // The state is field 3; the start time is field 22.
  for (int index = 3; index < 22 && fields >> field; ++index) {
  }
  unsigned long long ticks = 0;
  if (!(fields >> ticks))
    return 0;
  std::ifstream systemStat("/proc/stat");
  std::string key;
  long long bootTime = 0;
  while (systemStat >> key) {
    if (key == "btime") {
      systemStat >> bootTime;
      break;
    }
  }
  return bootTime + static_cast<std::int64_t>(ticks / sysconf(_SC_CLK_TCK));
}

}  // namespace

TallixCrashProcessSnapshot TallixCrashProcessSnapshot::take(
    const std::string& applicationIdentifier, const std::string& applicationVersion) {
  TallixCrashProcessSnapshot snapshot;
  utsname system{};
  if (uname(&system) == 0) {
    copyText(snapshot.osName, kTextSize, system.sysname);
    copyText(snapshot.osRelease, kTextSize, system.release);
    copyText(snapshot.osBuild, kTextSize, system.version);
  }
  copyText(snapshot.machineModel, kTextSize, firstLine("/sys/devices/virtual/dmi/id/product_name"));
  snapshot.processorCount = static_cast<std::uint32_t>(sysconf(_SC_NPROCESSORS_CONF));
  snapshot.onlineProcessorCount = static_cast<std::uint32_t>(sysconf(_SC_NPROCESSORS_ONLN));
  copyText(snapshot.applicationIdentifier, kTextSize, applicationIdentifier);
  copyText(snapshot.applicationVersion, kTextSize, applicationVersion);
  snapshot.processId = getpid();
  copyText(snapshot.processName, kTextSize, program_invocation_short_name);
  const ssize_t length = readlink("/proc/self/exe", snapshot.processPath, kPathSize - 1);
  snapshot.processPath[length > 0 ? length : 0] = '\0';
  snapshot.processStartTime = readProcessStartTime();
  snapshot.mainProgramHeaders = getauxval(AT_PHDR);
  snapshot.mainProgramHeaderCount = getauxval(AT_PHNUM);
  return snapshot;
}

}  // namespace tallix::crash
