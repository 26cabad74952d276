#pragma once

#include <concepts>
#include <mutex>
#include <utility>

namespace platform::pulse {

// The server's latest answer to one question, written by the loop's thread and read by anyone
// without waiting: until the server has answered, readers get T{}, and the first answer that
// differs from it counts as a change, so observers learn of it like any other.
template <typename T, typename Identity = T>
class LatestAnswer {
 public:
  // True when this answer differs from the one before; `identity` is what must differ.
  bool store(T answer, Identity identity) {
    std::lock_guard lock(mutex_);
    answer_ = std::move(answer);
    const bool changed = identity != identity_;
    identity_ = std::move(identity);
    return changed;
  }

  // For answers that are their own identity.
  bool store(T answer) requires std::same_as<T, Identity> {
    Identity identity = answer;
    return store(std::move(answer), std::move(identity));
  }

  T current() const {
    std::lock_guard lock(mutex_);
    return answer_;
  }

 private:
  mutable std::mutex mutex_;
  T answer_{};
  Identity identity_{};
};

}  // namespace platform::pulse
