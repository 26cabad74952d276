#pragma once

#include <chrono>
#include <concepts>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <utility>

namespace platform::pulse {

// The server's latest answer to one question, written by the loop's thread and read by anyone.
// Readers get an answer soon after start-up without ever hanging on a server that is slow or
// gone: the first read waits a bounded while, and every later one returns at once.
template <typename T, typename Identity = T>
class LatestAnswer {
 public:
  // True when this answer replaces a different earlier one; the first answer is no change.
  // `identity` is what must differ for the answer to have changed.
  bool store(T answer, Identity identity) {
    std::lock_guard lock(mutex_);
    const bool changed = identity_ && identity != *identity_;
    identity_ = std::move(identity);
    answer_ = std::move(answer);
    firstAnswer_.notify_all();
    return changed;
  }

  // For answers that are their own identity.
  bool store(T answer) requires std::same_as<T, Identity> {
    Identity identity = answer;
    return store(std::move(answer), std::move(identity));
  }

  // T{} when the server has not answered within the first wait.
  T current() {
    std::unique_lock lock(mutex_);
    if (!firstWaitEnds_)
      firstWaitEnds_ = std::chrono::steady_clock::now() + kFirstAnswerWait;
    firstAnswer_.wait_until(lock, *firstWaitEnds_, [this] { return identity_.has_value(); });
    return answer_;
  }

 private:
  // Long enough for a local server to answer a freshly made connection, short enough that a
  // caller on the UI thread does not look hung.
  static constexpr auto kFirstAnswerWait = std::chrono::seconds(1);

  std::mutex mutex_;
  std::condition_variable firstAnswer_;
  std::optional<std::chrono::steady_clock::time_point> firstWaitEnds_;
  std::optional<Identity> identity_;
  T answer_{};
};

}  // namespace platform::pulse
