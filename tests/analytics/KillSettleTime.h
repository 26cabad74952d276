#pragma once

#include <chrono>

// How long a child of a kill test waits, once it has stored what it announces, before it says
// so: past 50 ms everything must be on disk.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
// Sanitizers slow the queues several times over (300 events took up to 120 ms to reach the disk
// under ThreadSanitizer); the 50 ms figure is the plain build's, in bench/agent_persistence.
inline constexpr auto kKillSettleTime = std::chrono::seconds(1);
#else
inline constexpr auto kKillSettleTime = std::chrono::milliseconds(60);
#endif
