#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "analytics/crash/capture/unwind/TallixCrashDwarfExpression.h"

namespace tallix::crash {
namespace {

using Registers = TallixCrashRegisters;

struct Evaluation {
  bool ok = false;
  std::uint64_t result = 0;
};

Evaluation evaluate(const std::vector<std::uint8_t>& program, const Registers& registers,
                    bool pushInitial = false, std::uint64_t initial = 0) {
  const TallixCrashMemory memory;
  const auto begin = reinterpret_cast<std::uintptr_t>(program.data());
  Evaluation evaluation;
  evaluation.ok =
      TallixCrashDwarfExpression(memory, registers)
          .evaluate(begin, begin + program.size(), pushInitial, initial, evaluation.result);
  return evaluation;
}

Registers withSpAndPc(std::uint64_t sp, std::uint64_t pc) {
  Registers registers;
  registers.set(Registers::kSp, sp);
  registers.set(Registers::kPc, pc);
  return registers;
}

// The CFA rule linkers write for PLT entries: rsp + 8, or rsp + 16 once the entry has pushed
// its index (from byte 11 of the 16-byte entry on).
TEST(TallixCrashDwarfExpressionTest, ComputesThePltEntrysCfaFromSpAndPc) {
  const std::vector<std::uint8_t> plt = {0x77, 8,    0x80, 0,    0x3f, 0x1a,
                                         0x3b, 0x2a, 0x33, 0x24, 0x22};
  EXPECT_EQ(evaluate(plt, withSpAndPc(0x1000, 0x5000 + 6)).result, 0x1008u);
  EXPECT_EQ(evaluate(plt, withSpAndPc(0x1000, 0x5000 + 11)).result, 0x1010u);
}

TEST(TallixCrashDwarfExpressionTest, RunsStackOperationsAndFailsOnBadInput) {
  const std::uint64_t saved = 0x1122334455667788;
  const Registers registers = withSpAndPc(reinterpret_cast<std::uint64_t>(&saved) - 24, 0);
  EXPECT_EQ(evaluate({0x77, 24, 0x06}, registers).result, saved);  // breg7 24; deref
  // From [100]: lit8 over swap minus -> [100 92]; pick 1 dup drop minus neg -> [100 8];
  // lit3 mul plus -> [124].
  const std::vector<std::uint8_t> shuffle = {0x38, 0x14, 0x16, 0x1c, 0x15, 1,   0x12,
                                             0x13, 0x1c, 0x1f, 0x33, 0x1e, 0x22};
  const Evaluation shuffled = evaluate(shuffle, registers, true, 100);
  EXPECT_TRUE(shuffled.ok);
  EXPECT_EQ(shuffled.result, 124u);

  EXPECT_FALSE(evaluate({0x30, 0x06}, registers).ok);  // deref of address 0
  EXPECT_FALSE(evaluate({0x30, 0x22}, registers).ok);  // plus with one operand
  EXPECT_FALSE(evaluate({0x73, 0}, registers).ok);     // breg of an unknown register
  EXPECT_FALSE(evaluate({0xe0}, registers).ok);        // an operation of another producer
}

}  // namespace
}  // namespace tallix::crash
