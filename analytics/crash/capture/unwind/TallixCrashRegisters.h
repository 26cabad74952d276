#pragma once

#include <ucontext.h>

#include <array>
#include <cstdint>

namespace tallix::crash {

// x86-64 registers in DWARF numbering: 0 rax, 1 rdx, 2 rcx, 3 rbx, 4 rsi, 5 rdi, 6 rbp, 7 rsp,
// 8..15 r8..r15, 16 rip. A register the walk could not recover is unknown, not zero.
struct TallixCrashRegisters {
  static constexpr int kCount = 17, kFp = 6, kSp = 7, kPc = 16;
  std::array<std::uint64_t, kCount> value{};
  std::uint32_t known = 0;  // one bit per register

  static bool isValid(int reg) { return reg >= 0 && reg < kCount; }
  bool isKnown(int reg) const { return isValid(reg) && ((known >> reg) & 1u) != 0; }
  std::uint64_t get(int reg) const { return isKnown(reg) ? value[reg] : 0; }
  void set(int reg, std::uint64_t newValue) {
    value[reg] = newValue;
    known |= 1u << reg;
  }

  // All registers, from the general registers of a signal or getcontext context.
  static TallixCrashRegisters fromContext(const ucontext_t& context);
};

}  // namespace tallix::crash
