// Stack walking inside a crashing process.
//
// The walker runs while the process is dying: another thread may hold the loader's or the
// allocator's lock, the heap may be corrupt and the stack garbage. So it allocates nothing,
// locks nothing, asks the loader nothing (the caller passes the module ranges, taken from the
// loader's list ahead of time), keeps only fixed-size state on the stack, reads memory only
// through TallixCrashMemory (a bad address is a failed read, not a second fault) and bounds
// every loop: table bisection by 64 rounds, CFA programs and expressions by an instruction cap.
//
// One step, for the frame's pc (the return address minus one, unless the pc is exact):
// 1. The module holding the pc gives its .eh_frame_hdr; its sorted table gives the FDE.
// 2. The CIE's and FDE's call frame instructions, run up to the pc, give the row of rules: how
//    to compute the CFA (the caller's sp) and where each register of the caller was saved. PLT
//    entries and the signal trampoline describe their CFA and registers by DWARF expressions;
//    the trampoline's CIE is marked "S", so the frame it leads to has an exact pc.
// 3. Registers without a rule keep their value if the ABI has the callee preserve them
//    (rbx, rbp, r12-r15) and become unknown otherwise.
// Code without unwind tables (hand-written assembly, JIT code, a module without
// .eh_frame_hdr) is walked by frame pointer instead: [rbp] is the caller's rbp, [rbp + 8] the
// return address. rbp must be aligned and not below sp; since the caller's sp is rbp + 16, the
// chain has to grow at every step, so a looping chain ends.
#include "analytics/crash/capture/unwind/TallixCrashFrameUnwinder.h"

#include "analytics/crash/capture/unwind/TallixCrashCfiProgram.h"
#include "analytics/crash/capture/unwind/TallixCrashDwarfExpression.h"
#include "analytics/crash/capture/unwind/TallixCrashEhFrameIndex.h"

namespace tallix::crash {

namespace {

using Kind = TallixCrashRegisterRule::Kind;
using Registers = TallixCrashRegisters;

// rbx, rbp, r12-r15: what a callee must give back unchanged.
constexpr std::uint32_t kCalleeSaved =
    1u << 3 | 1u << 6 | 1u << 12 | 1u << 13 | 1u << 14 | 1u << 15;

}  // namespace

TallixCrashFrameUnwinder::TallixCrashFrameUnwinder(const TallixCrashMemory& memory,
                                                   std::span<const TallixCrashCodeRange> ranges)
    : memory_(memory), ranges_(ranges) {}

bool TallixCrashFrameUnwinder::step(TallixCrashFrame& frame) const {
  const std::uint64_t pc = frame.registers.get(Registers::kPc);
  if (pc == 0) {
    return false;
  }
  const std::uintptr_t lookupPc = frame.pcIsExact ? pc : pc - 1;
  TallixCrashFde fde;
  std::uintptr_t ehFrameHdr = 0;
  if (!findFde(lookupPc, fde, ehFrameHdr)) {
    return stepByFramePointer(frame);
  }
  return stepByTable(frame, lookupPc, fde, ehFrameHdr);
}

bool TallixCrashFrameUnwinder::findFde(std::uintptr_t pc, TallixCrashFde& fde,
                                       std::uintptr_t& ehFrameHdr) const {
  for (const TallixCrashCodeRange& range : ranges_) {
    if (range.contains(pc)) {
      ehFrameHdr = range.ehFrameHdr;
      return TallixCrashEhFrameIndex(memory_, ehFrameHdr).find(pc, fde);
    }
  }
  return false;
}

bool TallixCrashFrameUnwinder::stepByTable(TallixCrashFrame& frame, std::uintptr_t pc,
                                           const TallixCrashFde& fde,
                                           std::uintptr_t ehFrameHdr) const {
  const Registers& callee = frame.registers;
  const int returnColumn =
      fde.cie.returnColumn < Registers::kCount ? static_cast<int>(fde.cie.returnColumn) : -1;
  TallixCrashCfiRow row;
  std::uint64_t cfa = 0;
  if (returnColumn < 0 || !TallixCrashCfiProgram(memory_, fde, ehFrameHdr).rowAt(pc, row) ||
      !findCfa(callee, row.cfa, cfa)) {
    return false;
  }
  // A call leaves the caller's sp above the callee's; only a signal frame may lead elsewhere
  // (from the alternate signal stack to the interrupted one).
  if (!fde.cie.isSignalFrame && callee.isKnown(Registers::kSp) &&
      cfa <= callee.value[Registers::kSp]) {
    return false;
  }
  Registers caller;
  caller.set(Registers::kSp, cfa);
  for (int reg = 0; reg < Registers::kCount; ++reg) {
    if (!recover(callee, row.rules[reg], reg, cfa, caller)) {
      return false;
    }
  }
  const std::uint64_t returnAddress = caller.get(returnColumn);
  if (returnAddress == 0) {
    return false;  // undefined or zero: the outermost frame
  }
  caller.set(Registers::kPc, returnAddress);
  frame.registers = caller;
  frame.pcIsExact = fde.cie.isSignalFrame;
  return true;
}

bool TallixCrashFrameUnwinder::findCfa(const Registers& registers, const TallixCrashCfaRule& rule,
                                       std::uint64_t& cfa) const {
  if (rule.isExpression) {
    return TallixCrashDwarfExpression(memory_, registers)
        .evaluate(rule.expression, rule.expressionEnd, false, 0, cfa);
  }
  if (!registers.isKnown(rule.reg)) {
    return false;
  }
  cfa = registers.value[rule.reg] + static_cast<std::uint64_t>(rule.offset);
  return true;
}

bool TallixCrashFrameUnwinder::recover(const Registers& callee, const TallixCrashRegisterRule& rule,
                                       int reg, std::uint64_t cfa, Registers& caller) const {
  const std::uint64_t offsetFromCfa = cfa + static_cast<std::uint64_t>(rule.offset);
  std::uint64_t value = 0;
  switch (rule.kind) {
    case Kind::kUnspecified:
      if (((kCalleeSaved >> reg) & 1u) != 0 && callee.isKnown(reg)) {
        caller.set(reg, callee.value[reg]);
      }
      return true;  // the caller's sp is already the CFA
    case Kind::kUndefined:
      return true;
    case Kind::kSameValue:
    case Kind::kRegister: {
      const int source = rule.kind == Kind::kSameValue ? reg : rule.reg;
      if (callee.isKnown(source)) {
        caller.set(reg, callee.value[source]);
      }
      return true;
    }
    case Kind::kOffset:
      if (!memory_.read(offsetFromCfa, value)) {
        return false;
      }
      caller.set(reg, value);
      return true;
    case Kind::kValOffset:
      caller.set(reg, offsetFromCfa);
      return true;
    case Kind::kExpression:
    case Kind::kValExpression: {
      const TallixCrashDwarfExpression expression(memory_, callee);
      if (!expression.evaluate(rule.expression, rule.expressionEnd, true, cfa, value) ||
          (rule.kind == Kind::kExpression && !memory_.read(value, value))) {
        return false;
      }
      caller.set(reg, value);
      return true;
    }
  }
  return false;
}

bool TallixCrashFrameUnwinder::stepByFramePointer(TallixCrashFrame& frame) const {
  const Registers& callee = frame.registers;
  const std::uint64_t fp = callee.get(Registers::kFp);
  if (!callee.isKnown(Registers::kFp) || fp % alignof(std::uint64_t) != 0 ||
      (callee.isKnown(Registers::kSp) && fp < callee.value[Registers::kSp])) {
    return false;
  }
  struct {
    std::uint64_t callerFp;
    std::uint64_t returnAddress;
  } record{};
  if (!memory_.read(fp, record) || record.returnAddress == 0) {
    return false;
  }
  Registers caller;
  caller.set(Registers::kFp, record.callerFp);
  caller.set(Registers::kSp, fp + sizeof record);
  caller.set(Registers::kPc, record.returnAddress);
  frame.registers = caller;
  frame.pcIsExact = false;
  return true;
}

}  // namespace tallix::crash
