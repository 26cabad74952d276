#include "analytics/crash/capture/unwind/TallixCrashDwarfExpression.h"

#include <utility>

#include "analytics/crash/capture/unwind/TallixCrashDwarfCursor.h"

namespace tallix::crash {

namespace {

constexpr int kStackDepth = 64;
constexpr int kMaxOperations = 1024;

// DW_OP_* codes.
enum : std::uint8_t {
  kAddr = 0x03,
  kDeref = 0x06,
  kConst1u = 0x08,
  kConst1s = 0x09,
  kConst2u = 0x0a,
  kConst2s = 0x0b,
  kConst4u = 0x0c,
  kConst4s = 0x0d,
  kConst8u = 0x0e,
  kConst8s = 0x0f,
  kConstu = 0x10,
  kConsts = 0x11,
  kDup = 0x12,
  kDrop = 0x13,
  kOver = 0x14,
  kPick = 0x15,
  kSwap = 0x16,
  kAnd = 0x1a,
  kMinus = 0x1c,
  kMul = 0x1e,
  kNeg = 0x1f,
  kNot = 0x20,
  kOr = 0x21,
  kPlus = 0x22,
  kPlusUconst = 0x23,
  kShl = 0x24,
  kShr = 0x25,
  kXor = 0x27,
  kBra = 0x28,
  kEq = 0x29,
  kGe = 0x2a,
  kGt = 0x2b,
  kLe = 0x2c,
  kLt = 0x2d,
  kNe = 0x2e,
  kSkip = 0x2f,
  kLit0 = 0x30,
  kLit31 = 0x4f,
  kBreg0 = 0x70,
  kBreg31 = 0x8f,
  kBregx = 0x92,
  kNop = 0x96,
};

}  // namespace

// One evaluation: the operand stack and the cursor over the expression.
class TallixCrashDwarfExpression::Machine {
 public:
  Machine(const TallixCrashMemory& memory, const TallixCrashRegisters& registers,
          TallixCrashDwarfCursor cursor)
      : memory_(memory), registers_(registers), cursor_(cursor) {}

  bool push(std::uint64_t value) {
    if (depth_ == kStackDepth) {
      return false;
    }
    stack_[depth_++] = value;
    return true;
  }

  bool run(std::uint64_t& result) {
    for (int operations = 0; !cursor_.atEnd(); ++operations) {
      if (operations == kMaxOperations || !execute(cursor_.byte()) || !cursor_.ok()) {
        return false;
      }
    }
    if (!cursor_.ok() || depth_ == 0) {
      return false;
    }
    result = stack_[depth_ - 1];
    return true;
  }

 private:
  bool execute(std::uint8_t op) {
    if (op >= kLit0 && op <= kLit31) {
      return push(op - kLit0);
    }
    if (op >= kBreg0 && op <= kBreg31) {
      return pushRegister(op - kBreg0, cursor_.sleb());
    }
    switch (op) {
      case kAddr:
      case kConst8u:
      case kConst8s:
        return push(cursor_.fixed<std::uint64_t>());
      case kConst1u:
        return push(cursor_.fixed<std::uint8_t>());
      case kConst1s:
        return push(signExtended(cursor_.fixed<std::int8_t>()));
      case kConst2u:
        return push(cursor_.fixed<std::uint16_t>());
      case kConst2s:
        return push(signExtended(cursor_.fixed<std::int16_t>()));
      case kConst4u:
        return push(cursor_.fixed<std::uint32_t>());
      case kConst4s:
        return push(signExtended(cursor_.fixed<std::int32_t>()));
      case kConstu:
        return push(cursor_.uleb());
      case kConsts:
        return push(static_cast<std::uint64_t>(cursor_.sleb()));
      case kBregx: {
        const std::uint64_t reg = cursor_.uleb();
        return pushRegister(reg, cursor_.sleb());
      }
      case kNop:
        return true;
      default:
        return executeStackOperation(op);
    }
  }

  bool executeStackOperation(std::uint8_t op) {
    switch (op) {
      case kDup:
        return pick(0);
      case kOver:
        return pick(1);
      case kPick:
        return pick(cursor_.byte());
      case kDrop:
        return pop();
      case kSwap:
        if (depth_ < 2) {
          return false;
        }
        std::swap(stack_[depth_ - 1], stack_[depth_ - 2]);
        return true;
      case kDeref:
        return dereference();
      case kNeg:
        return unary([](std::uint64_t a) { return 0 - a; });
      case kNot:
        return unary([](std::uint64_t a) { return ~a; });
      case kPlusUconst: {
        const std::uint64_t addend = cursor_.uleb();
        return unary([addend](std::uint64_t a) { return a + addend; });
      }
      case kSkip:
        return jump(true);
      case kBra: {
        std::uint64_t condition = 0;
        return pop(condition) && jump(condition != 0);
      }
      default:
        return executeBinary(op);
    }
  }

  bool executeBinary(std::uint8_t op) {
    // `a` is the deeper operand, `b` the top: DW_OP_minus computes a - b, DW_OP_lt a < b.
    using U = std::uint64_t;
    using S = std::int64_t;
    switch (op) {
      case kAnd:
        return binary([](U a, U b) { return a & b; });
      case kOr:
        return binary([](U a, U b) { return a | b; });
      case kXor:
        return binary([](U a, U b) { return a ^ b; });
      case kPlus:
        return binary([](U a, U b) { return a + b; });
      case kMinus:
        return binary([](U a, U b) { return a - b; });
      case kMul:
        return binary([](U a, U b) { return a * b; });
      case kShl:
        return binary([](U a, U b) { return b < 64 ? a << b : U{0}; });
      case kShr:
        return binary([](U a, U b) { return b < 64 ? a >> b : U{0}; });
      case kEq:
        return binary([](U a, U b) { return U{a == b}; });
      case kNe:
        return binary([](U a, U b) { return U{a != b}; });
      case kGe:
        return binary([](U a, U b) { return U{S(a) >= S(b)}; });
      case kGt:
        return binary([](U a, U b) { return U{S(a) > S(b)}; });
      case kLe:
        return binary([](U a, U b) { return U{S(a) <= S(b)}; });
      case kLt:
        return binary([](U a, U b) { return U{S(a) < S(b)}; });
      default:  // an operation unwind tables do not use
        return false;
    }
  }

  template <typename T>
  static std::uint64_t signExtended(T value) {
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(value));
  }

  bool pushRegister(std::uint64_t reg, std::int64_t offset) {
    const int index = reg < TallixCrashRegisters::kCount ? static_cast<int>(reg) : -1;
    return registers_.isKnown(index) &&
           push(registers_.value[index] + static_cast<std::uint64_t>(offset));
  }

  bool pop(std::uint64_t& value) {
    if (depth_ == 0) {
      return false;
    }
    value = stack_[--depth_];
    return true;
  }
  bool pop() {
    std::uint64_t ignored = 0;
    return pop(ignored);
  }

  bool pick(std::uint64_t fromTop) {
    return fromTop < static_cast<std::uint64_t>(depth_) && push(stack_[depth_ - 1 - fromTop]);
  }

  bool dereference() {
    std::uint64_t address = 0, value = 0;
    return pop(address) && memory_.read(address, value) && push(value);
  }

  template <typename Operation>
  bool unary(Operation operation) {
    std::uint64_t a = 0;
    return pop(a) && push(operation(a));
  }

  template <typename Operation>
  bool binary(Operation operation) {
    std::uint64_t a = 0, b = 0;
    return pop(b) && pop(a) && push(operation(a, b));
  }

  // DW_OP_skip and DW_OP_bra: a signed 2-byte distance from the end of the operation.
  bool jump(bool taken) {
    const std::int16_t distance = cursor_.fixed<std::int16_t>();
    if (!taken) {
      return true;
    }
    cursor_.seek(cursor_.position() + static_cast<std::uintptr_t>(std::int64_t{distance}));
    return cursor_.ok();
  }

  const TallixCrashMemory& memory_;
  const TallixCrashRegisters& registers_;
  TallixCrashDwarfCursor cursor_;
  std::array<std::uint64_t, kStackDepth> stack_{};
  int depth_ = 0;
};

TallixCrashDwarfExpression::TallixCrashDwarfExpression(const TallixCrashMemory& memory,
                                                       const TallixCrashRegisters& registers)
    : memory_(memory), registers_(registers) {}

bool TallixCrashDwarfExpression::evaluate(std::uintptr_t begin, std::uintptr_t end,
                                          bool pushInitial, std::uint64_t initial,
                                          std::uint64_t& result) const {
  Machine machine(memory_, registers_, TallixCrashDwarfCursor(memory_, begin, end));
  return (!pushInitial || machine.push(initial)) && machine.run(result);
}

}  // namespace tallix::crash
