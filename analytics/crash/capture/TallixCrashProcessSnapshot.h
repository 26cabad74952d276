#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace tallix::crash {

// What a report says about the system, the machine and the process that does not change while
// it runs, gathered when the reporter is enabled so the crash path only copies it.
struct TallixCrashProcessSnapshot {
  static constexpr std::size_t kTextSize = 256;
  static constexpr std::size_t kPathSize = 4096;

  char osName[kTextSize] = {};
  char osRelease[kTextSize] = {};
  char osBuild[kTextSize] = {};
  char machineModel[kTextSize] = {};
  std::uint32_t processorCount = 0;
  std::uint32_t onlineProcessorCount = 0;

  char applicationIdentifier[kTextSize] = {};
  char applicationVersion[kTextSize] = {};

  pid_t processId = 0;
  char processName[kTextSize] = {};
  char processPath[kPathSize] = {};
  std::int64_t processStartTime = 0;
  // The executable's program headers: the loader's list does not say where they are.
  std::uintptr_t mainProgramHeaders = 0;
  std::size_t mainProgramHeaderCount = 0;

  static TallixCrashProcessSnapshot take(const std::string& applicationIdentifier,
                                         const std::string& applicationVersion);
};

}  // namespace tallix::crash
