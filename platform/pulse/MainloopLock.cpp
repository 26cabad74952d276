#include "platform/pulse/MainloopLock.h"

namespace platform::pulse {

MainloopLock::MainloopLock(pa_threaded_mainloop* mainloop)
    : mainloop_(pa_threaded_mainloop_in_thread(mainloop) ? nullptr : mainloop) {
  if (mainloop_)
    pa_threaded_mainloop_lock(mainloop_);
}

MainloopLock::~MainloopLock() {
  if (mainloop_)
    pa_threaded_mainloop_unlock(mainloop_);
}

}  // namespace platform::pulse
