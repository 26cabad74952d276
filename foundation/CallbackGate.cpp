#include "foundation/CallbackGate.h"

#include <algorithm>

namespace foundation {

bool CallbackGate::isOpen() const {
  std::lock_guard lock(mutex_);
  return !closed_;
}

void CallbackGate::close() {
  std::unique_lock lock(mutex_);
  closed_ = true;
  const auto self = std::this_thread::get_id();
  left_.wait(lock, [&] {
    return std::ranges::all_of(inside_, [&](std::thread::id id) { return id == self; });
  });
}

bool CallbackGate::enter() {
  std::lock_guard lock(mutex_);
  if (closed_)
    return false;
  inside_.push_back(std::this_thread::get_id());
  return true;
}

void CallbackGate::leave() {
  std::lock_guard lock(mutex_);
  inside_.erase(std::ranges::find(inside_, std::this_thread::get_id()));
  left_.notify_all();
}

}  // namespace foundation
