#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace foundation {

// Polls until the condition holds or the generous limit passes: tests wait on outcomes, not
// on guesses of how long a loaded machine needs.
inline bool eventually(const std::function<bool()>& condition,
                       std::chrono::milliseconds limit = std::chrono::seconds(10)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace foundation
