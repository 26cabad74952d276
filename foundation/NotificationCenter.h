#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "foundation/Notification.h"

namespace foundation {

// Delivers named notifications to observers synchronously on the posting thread, in the
// order the observers were added. Observers added during a post wait for the next one;
// observers removed during a post are not called again. Removal returns only when the
// observer's callback is not running on another thread.
class NotificationCenter {
 public:
  using Callback = std::function<void(const Notification&)>;
  using Token = std::uint64_t;

  static NotificationCenter& defaultCenter();

  NotificationCenter() = default;
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  // With an object, only notifications from that sender are delivered. The owner groups
  // observers for removeObserver(owner).
  Token addObserver(std::string name, const void* owner, Callback callback,
                    const void* object = nullptr);
  void removeObserver(Token token);
  void removeObserver(const void* owner);

  void post(const Notification& notification);
  void post(std::string name, const void* object = nullptr, Value userInfo = {});

 private:
  struct Observer;
  void remove(const std::function<bool(const Observer&)>& matches);

  std::mutex mutex_;
  std::vector<std::shared_ptr<Observer>> observers_;
  Token nextToken_ = 1;
};

}  // namespace foundation
