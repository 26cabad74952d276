#pragma once

#include <cstdint>

#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/unwind/TallixCrashFde.h"

namespace tallix::crash {

// Finds a function's FDE through a module's .eh_frame_hdr: a table of (first pc, FDE) pairs
// sorted by pc, searched by bisection. Only the table layout every linker writes is read
// (4-byte signed offsets from the header); a module with another layout has no FDEs here, and
// its frames are walked by frame pointer.
class TallixCrashEhFrameIndex {
 public:
  TallixCrashEhFrameIndex(const TallixCrashMemory& memory, std::uintptr_t ehFrameHdr);

  // The FDE whose code holds `pc`.
  bool find(std::uintptr_t pc, TallixCrashFde& fde) const;

 private:
  struct Entry {
    std::int32_t firstPc;
    std::int32_t fde;
  };
  bool readTable(std::uintptr_t& table, std::uint64_t& count) const;
  bool lastEntryAtOrBefore(std::uintptr_t pc, std::uintptr_t table, std::uint64_t count,
                           Entry& entry) const;

  const TallixCrashMemory& memory_;
  std::uintptr_t header_;
};

}  // namespace tallix::crash
