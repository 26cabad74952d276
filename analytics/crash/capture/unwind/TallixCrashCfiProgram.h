#pragma once

#include <cstdint>

#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/unwind/TallixCrashCfiRow.h"
#include "analytics/crash/capture/unwind/TallixCrashFde.h"

namespace tallix::crash {

// Runs a function's call frame instructions (DW_CFA_*) up to a pc: the CIE's initial ones, then
// the FDE's, stopping at the first advance past the pc. Rules for registers the walker does not
// track are parsed and dropped. remember_state has a fixed depth and the number of instructions
// is capped, so a garbage program fails instead of looping.
class TallixCrashCfiProgram {
 public:
  // `dataBase` resolves data-relative addresses of DW_CFA_set_loc.
  TallixCrashCfiProgram(const TallixCrashMemory& memory, const TallixCrashFde& fde,
                        std::uintptr_t dataBase);

  // The row in effect at `pc`.
  bool rowAt(std::uintptr_t pc, TallixCrashCfiRow& row) const;

 private:
  class Interpreter;

  const TallixCrashMemory& memory_;
  const TallixCrashFde& fde_;
  std::uintptr_t dataBase_;
};

}  // namespace tallix::crash
