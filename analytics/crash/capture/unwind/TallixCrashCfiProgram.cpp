#include "analytics/crash/capture/unwind/TallixCrashCfiProgram.h"

#include "analytics/crash/capture/unwind/TallixCrashDwarfCursor.h"

namespace tallix::crash {

namespace {

constexpr int kStateDepth = 8;
constexpr int kMaxInstructions = 1 << 16;

// DW_CFA_* codes; the first three carry their operand in the low six bits.
enum : std::uint8_t {
  kAdvanceLoc = 0x40,
  kOffset = 0x80,
  kRestore = 0xc0,
  kPackedMask = 0xc0,
  kNop = 0x00,
  kSetLoc = 0x01,
  kAdvanceLoc1 = 0x02,
  kAdvanceLoc2 = 0x03,
  kAdvanceLoc4 = 0x04,
  kOffsetExtended = 0x05,
  kRestoreExtended = 0x06,
  kUndefined = 0x07,
  kSameValue = 0x08,
  kRegister = 0x09,
  kRememberState = 0x0a,
  kRestoreState = 0x0b,
  kDefCfa = 0x0c,
  kDefCfaRegister = 0x0d,
  kDefCfaOffset = 0x0e,
  kDefCfaExpression = 0x0f,
  kExpression = 0x10,
  kOffsetExtendedSf = 0x11,
  kDefCfaSf = 0x12,
  kDefCfaOffsetSf = 0x13,
  kValOffset = 0x14,
  kValOffsetSf = 0x15,
  kValExpression = 0x16,
  kGnuArgsSize = 0x2e,
  kGnuNegativeOffsetExtended = 0x2f,
};

using Kind = TallixCrashRegisterRule::Kind;

// The walker's index of a DWARF register, or -1 for one it does not track.
int tracked(std::uint64_t reg) {
  return reg < TallixCrashRegisters::kCount ? static_cast<int>(reg) : -1;
}

}  // namespace

// One run over the CIE's and the FDE's instructions for one pc.
class TallixCrashCfiProgram::Interpreter {
 public:
  Interpreter(const TallixCrashMemory& memory, const TallixCrashFde& fde, std::uintptr_t dataBase,
              std::uintptr_t pc)
      : memory_(memory), fde_(fde), dataBase_(dataBase), pc_(pc), location_(fde.pcBegin) {}

  bool run(std::uintptr_t begin, std::uintptr_t end, TallixCrashCfiRow& row) {
    TallixCrashDwarfCursor cursor(memory_, begin, end);
    while (!cursor.atEnd() && location_ <= pc_) {
      if (++instructions_ > kMaxInstructions || !execute(cursor.byte(), cursor, row) ||
          !cursor.ok()) {
        return false;
      }
    }
    return cursor.ok();
  }

  // The rules DW_CFA_restore returns to: those after the CIE's instructions.
  void setInitialRow(const TallixCrashCfiRow& row) { initial_ = row; }

 private:
  bool execute(std::uint8_t op, TallixCrashDwarfCursor& cursor, TallixCrashCfiRow& row) {
    const std::uint8_t packed = op & ~kPackedMask;
    switch (op & kPackedMask) {
      case kAdvanceLoc:
        return advance(packed);
      case kOffset:
        return setOffset(row, packed, Kind::kOffset, factored(cursor.uleb()));
      case kRestore:
        return restore(row, packed);
      default:
        return executeExtended(op, cursor, row);
    }
  }

  bool executeExtended(std::uint8_t op, TallixCrashDwarfCursor& cursor, TallixCrashCfiRow& row) {
    switch (op) {
      case kNop:
        return true;
      case kGnuArgsSize:
        cursor.uleb();  // what the caller pushed: not needed to find the caller
        return true;
      case kSetLoc:
        location_ = cursor.encoded(fde_.cie.pointerEncoding, dataBase_);
        return true;
      case kAdvanceLoc1:
        return advance(cursor.fixed<std::uint8_t>());
      case kAdvanceLoc2:
        return advance(cursor.fixed<std::uint16_t>());
      case kAdvanceLoc4:
        return advance(cursor.fixed<std::uint32_t>());
      case kRememberState:
        return rememberState(row);
      case kRestoreState:
        return restoreState(row);
      case kRestoreExtended:
        return restore(row, cursor.uleb());
      default:
        return executeCfaRule(op, cursor, row) || executeRegisterRule(op, cursor, row);
    }
  }

  // False when `op` is not a CFA instruction; a failed read poisons the cursor.
  bool executeCfaRule(std::uint8_t op, TallixCrashDwarfCursor& cursor, TallixCrashCfiRow& row) {
    TallixCrashCfaRule& cfa = row.cfa;
    switch (op) {
      case kDefCfa:
        cfa = {.reg = tracked(cursor.uleb())};
        cfa.offset = static_cast<std::int64_t>(cursor.uleb());
        return true;
      case kDefCfaSf:
        cfa = {.reg = tracked(cursor.uleb())};
        cfa.offset = factored(cursor.sleb());
        return true;
      case kDefCfaRegister:
        cfa.isExpression = false;
        cfa.reg = tracked(cursor.uleb());
        return true;
      case kDefCfaOffset:
        cfa.offset = static_cast<std::int64_t>(cursor.uleb());
        return true;
      case kDefCfaOffsetSf:
        cfa.offset = factored(cursor.sleb());
        return true;
      case kDefCfaExpression:
        cfa = {.isExpression = true};
        readBlock(cursor, cfa.expression, cfa.expressionEnd);
        return true;
      default:
        return false;
    }
  }

  bool executeRegisterRule(std::uint8_t op, TallixCrashDwarfCursor& cursor,
                           TallixCrashCfiRow& row) {
    const std::uint64_t reg = cursor.uleb();
    switch (op) {
      case kOffsetExtended:
        return setOffset(row, reg, Kind::kOffset, factored(cursor.uleb()));
      case kOffsetExtendedSf:
        return setOffset(row, reg, Kind::kOffset, factored(cursor.sleb()));
      case kGnuNegativeOffsetExtended:
        return setOffset(row, reg, Kind::kOffset, -factored(cursor.uleb()));
      case kValOffset:
        return setOffset(row, reg, Kind::kValOffset, factored(cursor.uleb()));
      case kValOffsetSf:
        return setOffset(row, reg, Kind::kValOffset, factored(cursor.sleb()));
      case kUndefined:
        return setRule(row, reg, {.kind = Kind::kUndefined});
      case kSameValue:
        return setRule(row, reg, {.kind = Kind::kSameValue});
      case kRegister: {
        // A copy in an untracked register is as good as lost.
        const int source = tracked(cursor.uleb());
        return setRule(row, reg,
                       source < 0
                           ? TallixCrashRegisterRule{.kind = Kind::kUndefined}
                           : TallixCrashRegisterRule{.kind = Kind::kRegister, .reg = source});
      }
      case kExpression:
      case kValExpression: {
        TallixCrashRegisterRule rule{.kind = op == kExpression ? Kind::kExpression
                                                               : Kind::kValExpression};
        return readBlock(cursor, rule.expression, rule.expressionEnd) && setRule(row, reg, rule);
      }
      default:  // an instruction of another architecture, or garbage
        return false;
    }
  }

  std::int64_t factored(std::uint64_t value) const {
    return static_cast<std::int64_t>(value) * fde_.cie.dataAlignment;
  }
  std::int64_t factored(std::int64_t value) const { return value * fde_.cie.dataAlignment; }

  bool advance(std::uint64_t delta) {
    location_ += delta * fde_.cie.codeAlignment;
    return true;
  }

  static bool setRule(TallixCrashCfiRow& row, std::uint64_t reg,
                      const TallixCrashRegisterRule& rule) {
    if (tracked(reg) >= 0) {
      row.rules[reg] = rule;
    }
    return true;
  }

  static bool setOffset(TallixCrashCfiRow& row, std::uint64_t reg, Kind kind, std::int64_t offset) {
    return setRule(row, reg, {.kind = kind, .offset = offset});
  }

  bool restore(TallixCrashCfiRow& row, std::uint64_t reg) const {
    return setRule(row, reg, tracked(reg) >= 0 ? initial_.rules[reg] : TallixCrashRegisterRule{});
  }

  bool rememberState(const TallixCrashCfiRow& row) {
    if (depth_ == kStateDepth) {
      return false;
    }
    remembered_[depth_++] = row;
    return true;
  }

  bool restoreState(TallixCrashCfiRow& row) {
    if (depth_ == 0) {
      return false;
    }
    row = remembered_[--depth_];
    return true;
  }

  static bool readBlock(TallixCrashDwarfCursor& cursor, std::uintptr_t& begin,
                        std::uintptr_t& end) {
    const std::uint64_t length = cursor.uleb();
    begin = cursor.position();
    cursor.skip(length);
    end = cursor.position();
    return cursor.ok();
  }

  const TallixCrashMemory& memory_;
  const TallixCrashFde& fde_;
  std::uintptr_t dataBase_;
  std::uintptr_t pc_;
  std::uintptr_t location_;
  int instructions_ = 0;
  TallixCrashCfiRow initial_{};
  std::array<TallixCrashCfiRow, kStateDepth> remembered_{};
  int depth_ = 0;
};

TallixCrashCfiProgram::TallixCrashCfiProgram(const TallixCrashMemory& memory,
                                             const TallixCrashFde& fde, std::uintptr_t dataBase)
    : memory_(memory), fde_(fde), dataBase_(dataBase) {}

bool TallixCrashCfiProgram::rowAt(std::uintptr_t pc, TallixCrashCfiRow& row) const {
  Interpreter interpreter(memory_, fde_, dataBase_, pc);
  row = {};
  if (!interpreter.run(fde_.cie.instructions, fde_.cie.instructionsEnd, row)) {
    return false;
  }
  interpreter.setInitialRow(row);
  return interpreter.run(fde_.instructions, fde_.instructionsEnd, row);
}

}  // namespace tallix::crash
