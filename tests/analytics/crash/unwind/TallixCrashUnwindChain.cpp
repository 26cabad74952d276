#include "TallixCrashUnwindChain.h"

// The walk is checked against these functions' own addresses, so no clones either.
#ifdef __clang__
#define TALLIX_CHAIN_FRAME [[gnu::noinline]]
#else
#define TALLIX_CHAIN_FRAME [[gnu::noinline, gnu::noclone]]
#endif

namespace tallix::crash::test {

// Each keeps a few values on its stack, used after the call, so its frame has a size of its own
// and the call cannot become a jump.

TALLIX_CHAIN_FRAME int chainInner(ChainBottom bottom, int seed) {
  volatile int kept[3] = {seed, seed * 3, seed * 5};
  bottom();
  return kept[0] + kept[2];
}

TALLIX_CHAIN_FRAME int chainMiddle(ChainBottom bottom, int seed) {
  volatile int kept[5] = {seed, seed + 1, seed + 2, seed + 3, seed + 4};
  return chainInner(bottom, kept[1]) + kept[4];
}

TALLIX_CHAIN_FRAME int chainOuter(ChainBottom bottom, int seed) {
  volatile long kept[7] = {seed, 2, 3, 4, 5, 6, 7};
  return chainMiddle(bottom, static_cast<int>(kept[0])) + static_cast<int>(kept[6]);
}

TALLIX_CHAIN_FRAME void chainTrap() {
  asm volatile("ud2");
}

}  // namespace tallix::crash::test
