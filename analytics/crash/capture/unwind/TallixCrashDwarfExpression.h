#pragma once

#include <array>
#include <cstdint>

#include "analytics/crash/capture/TallixCrashMemory.h"
#include "analytics/crash/capture/unwind/TallixCrashRegisters.h"

namespace tallix::crash {

// The DWARF expression stack machine as unwind tables use it: PLT entries compute their CFA
// from rsp and rip, signal trampolines find the saved registers in the ucontext. Registers are
// those of the frame being unwound. The stack has a fixed depth and the number of operations is
// capped, so a garbage expression ends in failure, never in a loop.
class TallixCrashDwarfExpression {
 public:
  TallixCrashDwarfExpression(const TallixCrashMemory& memory,
                             const TallixCrashRegisters& registers);

  // Runs the expression in [begin, end), first pushing `initial` when `pushInitial`; the result
  // is the top of the stack.
  bool evaluate(std::uintptr_t begin, std::uintptr_t end, bool pushInitial, std::uint64_t initial,
                std::uint64_t& result) const;

 private:
  class Machine;

  const TallixCrashMemory& memory_;
  const TallixCrashRegisters& registers_;
};

}  // namespace tallix::crash
