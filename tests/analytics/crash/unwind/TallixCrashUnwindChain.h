#pragma once

namespace tallix::crash::test {

using ChainBottom = void (*)();

// chainOuter calls chainMiddle calls chainInner calls `bottom`. The three are built without
// frame pointers and keep their frames (no inlining, no tail calls), so a walk from `bottom`
// must pass through each of them by its unwind table.
int chainOuter(ChainBottom bottom, int seed);
int chainMiddle(ChainBottom bottom, int seed);
int chainInner(ChainBottom bottom, int seed);

// Executes ud2; a SIGILL handler that moves the pc 2 bytes on lets it return.
void chainTrap();

}  // namespace tallix::crash::test
