#pragma once

#include <span>

#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/unwind/TallixCrashCfiRow.h"
#include "analytics/crash/capture/unwind/TallixCrashCodeRange.h"
#include "analytics/crash/capture/unwind/TallixCrashFde.h"
#include "analytics/crash/capture/unwind/TallixCrashRegisters.h"

namespace tallix::crash {

struct TallixCrashFrame {
  TallixCrashRegisters registers;
  // True for a frame whose pc is the interrupted instruction (the first frame, or one a signal
  // interrupted); false when pc is a return address, so the lookup uses pc - 1.
  bool pcIsExact = true;
};

// Steps from a frame to its caller's, by the modules' unwind tables or, for code without
// them, by the frame-pointer chain. Safe inside a crashing process: see the .cpp.
class TallixCrashFrameUnwinder {
 public:
  TallixCrashFrameUnwinder(const TallixCrashMemory& memory,
                           std::span<const TallixCrashCodeRange> ranges);

  // Turns `frame` into its caller's. False at the outermost frame (return address 0 / undefined
  // RA) or when no caller can be found; `frame` is then unchanged.
  bool step(TallixCrashFrame& frame) const;

 private:
  bool findFde(std::uintptr_t pc, TallixCrashFde& fde, std::uintptr_t& ehFrameHdr) const;
  bool stepByTable(TallixCrashFrame& frame, std::uintptr_t pc, const TallixCrashFde& fde,
                   std::uintptr_t ehFrameHdr) const;
  bool stepByFramePointer(TallixCrashFrame& frame) const;
  bool findCfa(const TallixCrashRegisters& registers, const TallixCrashCfaRule& rule,
               std::uint64_t& cfa) const;
  bool recover(const TallixCrashRegisters& registers, const TallixCrashRegisterRule& rule, int reg,
               std::uint64_t cfa, TallixCrashRegisters& caller) const;

  const TallixCrashMemory& memory_;
  std::span<const TallixCrashCodeRange> ranges_;
};

}  // namespace tallix::crash
