#include <dlfcn.h>
#include <gtest/gtest.h>
#include <link.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "TallixCrashUnwindChain.h"
#include "analytics/crash/capture/unwind/TallixCrashFrameUnwinder.h"

namespace tallix::crash::test {

using Registers = TallixCrashRegisters;

constexpr int kMaxFrames = 128;

struct Walk {
  std::array<TallixCrashFrame, kMaxFrames> frames{};
  int count = 0;
  bool reachedEnd = false;  // step() refused before the frame limit
};

// The modules as the reporter takes them ahead of a crash: each object's span and
// .eh_frame_hdr. Built once, before any signal handler walks with them.
const std::vector<TallixCrashCodeRange>& codeRanges() {
  static const std::vector<TallixCrashCodeRange> ranges = [] {
    std::vector<TallixCrashCodeRange> found;
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) {
          TallixCrashCodeRange range{UINTPTR_MAX, 0, 0};
          for (int i = 0; i < info->dlpi_phnum; ++i) {
            const ElfW(Phdr)& header = info->dlpi_phdr[i];
            const std::uintptr_t start = info->dlpi_addr + header.p_vaddr;
            if (header.p_type == PT_LOAD) {
              range.start = std::min(range.start, start);
              range.end = std::max(range.end, start + header.p_memsz);
            } else if (header.p_type == PT_GNU_EH_FRAME) {
              range.ehFrameHdr = start;
            }
          }
          if (range.end > range.start) {
            static_cast<std::vector<TallixCrashCodeRange>*>(data)->push_back(range);
          }
          return 0;
        },
        &found);
    return found;
  }();
  return ranges;
}

void walkFrom(const ucontext_t& context, Walk& walk) {
  const TallixCrashMemory memory;
  const TallixCrashFrameUnwinder unwinder(memory, codeRanges());
  TallixCrashFrame frame{Registers::fromContext(context), true};
  walk.frames[0] = frame;
  walk.count = 1;
  walk.reachedEnd = false;
  while (walk.count < kMaxFrames) {
    if (!unwinder.step(frame)) {
      walk.reachedEnd = true;
      return;
    }
    walk.frames[walk.count++] = frame;
  }
}

// The code address a frame stands at: a return address belongs to its call instruction.
void* codeOf(const TallixCrashFrame& frame) {
  return reinterpret_cast<void*>(frame.registers.get(Registers::kPc) - (frame.pcIsExact ? 0 : 1));
}

bool isIn(const TallixCrashFrame& frame, const void* function) {
  Dl_info info{};
  ElfW(Sym)* symbol = nullptr;
  const auto pc = reinterpret_cast<std::uintptr_t>(codeOf(frame));
  return dladdr1(codeOf(frame), &info, reinterpret_cast<void**>(&symbol), RTLD_DL_SYMENT) != 0 &&
         info.dli_saddr == function && symbol != nullptr &&
         pc < reinterpret_cast<std::uintptr_t>(function) + symbol->st_size;
}

const char* moduleOf(const TallixCrashFrame& frame) {
  Dl_info info{};
  return dladdr(codeOf(frame), &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "";
}

void expectChainAt(const Walk& walk, int first) {
  ASSERT_LT(first + 2, walk.count);
  EXPECT_TRUE(isIn(walk.frames[first], reinterpret_cast<const void*>(&chainInner)));
  EXPECT_TRUE(isIn(walk.frames[first + 1], reinterpret_cast<const void*>(&chainMiddle)));
  EXPECT_TRUE(isIn(walk.frames[first + 2], reinterpret_cast<const void*>(&chainOuter)));
}

// The walk went through every caller up to the program's entry, whose return address is
// undefined, instead of stopping early or running into the frame limit.
void expectReachedEntry(const Walk& walk) {
  EXPECT_TRUE(walk.reachedEnd);
  EXPECT_STREQ(moduleOf(walk.frames[walk.count - 1]), moduleOf(walk.frames[0]));
}

// Exported (not in an anonymous namespace) so that dladdr can name them.
Walk chainWalk;
void walkFromChainBottom() {
  ucontext_t context;
  getcontext(&context);
  walkFrom(context, chainWalk);
}

struct {
  Walk fromSignalContext, fromHandler;
  std::uint64_t trapPc = 0;
} trapWalks;
void walkFromTrapHandler(int, siginfo_t*, void* raw) {
  auto* context = static_cast<ucontext_t*>(raw);
  trapWalks.trapPc = static_cast<std::uint64_t>(context->uc_mcontext.gregs[REG_RIP]);
  walkFrom(*context, trapWalks.fromSignalContext);
  ucontext_t own;
  getcontext(&own);
  walkFrom(own, trapWalks.fromHandler);
  context->uc_mcontext.gregs[REG_RIP] += 2;  // past the ud2
}

namespace {

TEST(TallixCrashFrameUnwinderTest, WalksFunctionsWithoutFramePointersToTheProgramEntry) {
  chainOuter(&walkFromChainBottom, 1);
  ASSERT_GT(chainWalk.count, 1);
  EXPECT_TRUE(isIn(chainWalk.frames[0], reinterpret_cast<const void*>(&walkFromChainBottom)));
  expectChainAt(chainWalk, 1);
  expectReachedEntry(chainWalk);
}

TEST(TallixCrashFrameUnwinderTest, WalksOutOfASignalHandlerIntoTheInterruptedFunction) {
  codeRanges();
  // On an alternate stack, as the reporter's handlers run: the trampoline leads to another stack.
  static std::array<unsigned char, 256 * 1024> alternateStack;
  const stack_t stack{alternateStack.data(), 0, alternateStack.size()};
  stack_t previousStack{};
  struct sigaction action {};
  struct sigaction previousAction {};
  action.sa_sigaction = &walkFromTrapHandler;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  ASSERT_EQ(sigaltstack(&stack, &previousStack), 0);
  ASSERT_EQ(sigaction(SIGILL, &action, &previousAction), 0);
  chainOuter(&chainTrap, 1);
  sigaction(SIGILL, &previousAction, nullptr);
  sigaltstack(&previousStack, nullptr);

  // From the signal's context: the interrupted instruction, then its callers.
  const Walk& direct = trapWalks.fromSignalContext;
  ASSERT_GT(direct.count, 0);
  EXPECT_EQ(direct.frames[0].registers.get(Registers::kPc), trapWalks.trapPc);
  EXPECT_TRUE(isIn(direct.frames[0], reinterpret_cast<const void*>(&chainTrap)));
  expectChainAt(direct, 1);
  expectReachedEntry(direct);

#if defined(__SANITIZE_THREAD__)
  // ThreadSanitizer calls handlers from its own signal handler, not from the kernel's frame.
  return;
#endif
  // From inside the handler: the handler, the C library's return trampoline, then the
  // interrupted instruction itself, marked exact.
  const Walk& viaTrampoline = trapWalks.fromHandler;
  ASSERT_GT(viaTrampoline.count, 3);
  EXPECT_TRUE(isIn(viaTrampoline.frames[0], reinterpret_cast<const void*>(&walkFromTrapHandler)));
  EXPECT_NE(std::strstr(moduleOf(viaTrampoline.frames[1]), "libc.so"), nullptr);
  EXPECT_EQ(viaTrampoline.frames[2].registers.get(Registers::kPc), trapWalks.trapPc);
  EXPECT_TRUE(viaTrampoline.frames[2].pcIsExact);
  expectChainAt(viaTrampoline, 3);
  expectReachedEntry(viaTrampoline);
}

TEST(TallixCrashFrameUnwinderTest, GarbageRegistersEndTheWalkWithoutAFault) {
  const auto pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  auto* pages = static_cast<unsigned char*>(
      mmap(nullptr, 2 * pageSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  munmap(pages + pageSize, pageSize);
  const auto protectedPage = reinterpret_cast<std::uintptr_t>(pages) + 64;
  const std::uintptr_t unmapped = protectedPage + pageSize;
  const auto inChain = reinterpret_cast<std::uintptr_t>(&chainInner) + 1;
  // A frame record that names itself as its caller's: a loop the walk must not follow.
  std::array<std::uint64_t, 2> selfLoop{};
  const auto loopAddress = reinterpret_cast<std::uintptr_t>(selfLoop.data());
  selfLoop = {loopAddress, unmapped};

  struct Case {
    std::uintptr_t pc, sp, fp;
  };
  const Case cases[] = {
      {unmapped, unmapped, unmapped},             // nothing mapped
      {inChain, unmapped, unmapped},              // code with a table, stack gone
      {inChain, protectedPage, protectedPage},    // stack unreadable
      {unmapped, protectedPage, protectedPage},   // frame pointer unreadable
      {unmapped, 8, loopAddress + 1},             // frame pointer misaligned
      {unmapped, loopAddress - 64, loopAddress},  // one step, then the loop is refused
  };
  const TallixCrashMemory memory;
  const TallixCrashFrameUnwinder unwinder(memory, codeRanges());
  for (const Case& garbage : cases) {
    TallixCrashFrame frame;
    for (int reg = 0; reg < Registers::kCount; ++reg) {
      frame.registers.set(reg, unmapped);
    }
    frame.registers.set(Registers::kPc, garbage.pc);
    frame.registers.set(Registers::kSp, garbage.sp);
    frame.registers.set(Registers::kFp, garbage.fp);
    int steps = 0;
    while (steps < 4 && unwinder.step(frame)) {
      ++steps;
    }
    EXPECT_EQ(steps, garbage.fp == loopAddress ? 1 : 0) << std::hex << garbage.pc;
  }
  munmap(pages, pageSize);
}

}  // namespace
}  // namespace tallix::crash::test
