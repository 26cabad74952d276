#pragma once

#include <pulse/thread-mainloop.h>

namespace platform::pulse {

// Holds the loop's lock for a scope, unless the loop's own thread asks: its callbacks already
// hold the lock, and they may call back into our classes (a completion asking again, an
// observer reading the route).
class MainloopLock {
 public:
  explicit MainloopLock(pa_threaded_mainloop* mainloop);
  ~MainloopLock();
  MainloopLock(const MainloopLock&) = delete;
  MainloopLock& operator=(const MainloopLock&) = delete;

 private:
  pa_threaded_mainloop* mainloop_;
};

}  // namespace platform::pulse
