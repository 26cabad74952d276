#pragma once

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <ctime>

namespace tallix::crash {

// Sleeping on a word without locks or allocation, so crashing threads, parked threads and the
// writer can wait for each other from inside signal handlers. Every wait has a deadline.
class TallixCrashFutex {
 public:
  static constexpr std::int64_t kMillisecond = 1'000'000;

  static std::int64_t nowNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
  }

  // Waits until `word` no longer holds `value` or `deadlineNs` (monotonic) passes. True when
  // the word changed.
  static bool waitWhileEqual(const std::atomic<std::uint32_t>& word, std::uint32_t value,
                             std::int64_t deadlineNs) {
    while (word.load(std::memory_order_acquire) == value) {
      const std::int64_t left = deadlineNs - nowNs();
      if (left <= 0)
        return false;
      const timespec timeout{static_cast<time_t>(left / 1'000'000'000LL),
                             static_cast<long>(left % 1'000'000'000LL)};
      syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value, &timeout, nullptr, 0);
    }
    return true;
  }

  static void wakeAll(std::atomic<std::uint32_t>& word) {
    syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, INT32_MAX, nullptr, nullptr, 0);
  }
};

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

}  // namespace tallix::crash
