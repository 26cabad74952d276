#pragma once

#include <cstdint>

namespace tallix::crash {

// One loaded module as the walker needs it: its address range [start, end) and the address of
// its .eh_frame_hdr (0 when it has none).
struct TallixCrashCodeRange {
  std::uintptr_t start = 0, end = 0, ehFrameHdr = 0;

  bool contains(std::uintptr_t pc) const { return pc >= start && pc < end; }
};

}  // namespace tallix::crash
