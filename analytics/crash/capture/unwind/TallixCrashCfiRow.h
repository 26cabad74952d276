#pragma once

#include <array>
#include <cstdint>

#include "analytics/crash/capture/unwind/TallixCrashRegisters.h"

namespace tallix::crash {

// How the caller's value of one register is found, relative to the CFA (the caller's sp).
struct TallixCrashRegisterRule {
  enum class Kind : std::uint8_t {
    kUnspecified,    // left to the calling convention
    kUndefined,      // lost; for the return address: this is the outermost frame
    kSameValue,      // unchanged
    kOffset,         // saved at CFA + offset
    kValOffset,      // is CFA + offset
    kRegister,       // held in register `reg`
    kExpression,     // saved at the address the expression computes from the CFA
    kValExpression,  // is the value the expression computes from the CFA
  };
  Kind kind = Kind::kUnspecified;
  std::int64_t offset = 0;
  int reg = 0;
  std::uintptr_t expression = 0, expressionEnd = 0;
};

// The CFA: a register plus an offset, or an expression.
struct TallixCrashCfaRule {
  bool isExpression = false;
  int reg = -1;  // -1: not (or not yet) set, or a register the walker does not track
  std::int64_t offset = 0;
  std::uintptr_t expression = 0, expressionEnd = 0;
};

// One row of the unwind table: the rules in effect at one pc.
struct TallixCrashCfiRow {
  TallixCrashCfaRule cfa;
  std::array<TallixCrashRegisterRule, TallixCrashRegisters::kCount> rules{};
};

}  // namespace tallix::crash
