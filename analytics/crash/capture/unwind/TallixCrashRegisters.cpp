#include "analytics/crash/capture/unwind/TallixCrashRegisters.h"

namespace tallix::crash {

TallixCrashRegisters TallixCrashRegisters::fromContext(const ucontext_t& context) {
  // The context's slot of each register, in DWARF order.
  static constexpr std::array<int, kCount> kSlots = {
      REG_RAX, REG_RDX, REG_RCX, REG_RBX, REG_RSI, REG_RDI, REG_RBP, REG_RSP, REG_R8,
      REG_R9,  REG_R10, REG_R11, REG_R12, REG_R13, REG_R14, REG_R15, REG_RIP};
  TallixCrashRegisters registers;
  for (int reg = 0; reg < kCount; ++reg) {
    registers.set(reg, static_cast<std::uint64_t>(context.uc_mcontext.gregs[kSlots[reg]]));
  }
  return registers;
}

}  // namespace tallix::crash
