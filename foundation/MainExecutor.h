#pragma once

#include <functional>

namespace foundation {

// What a GUI toolkit gives the main queue: a way to run work on its own thread, in order.
class MainExecutor {
 public:
  virtual ~MainExecutor() = default;
  virtual void post(std::function<void()> work) = 0;
  virtual bool isMainThread() const = 0;
};

}  // namespace foundation
