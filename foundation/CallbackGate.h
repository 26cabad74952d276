#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace foundation {

// Lets callbacks through until it is closed. close() returns only when no callback is still
// running on another thread, so whatever the callback uses may be released right after it;
// a callback that closes its own gate is not waited for.
class CallbackGate {
 public:
  class Pass;

  bool isOpen() const;
  void close();

 private:
  bool enter();
  void leave();

  mutable std::mutex mutex_;
  std::condition_variable left_;
  std::vector<std::thread::id> inside_;
  bool closed_ = false;
};

// Holds the gate open for one callback; check admitted() before running it.
class CallbackGate::Pass {
 public:
  explicit Pass(CallbackGate& gate) : gate_(gate), admitted_(gate.enter()) {}
  ~Pass() {
    if (admitted_)
      gate_.leave();
  }
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;
  bool admitted() const { return admitted_; }

 private:
  CallbackGate& gate_;
  bool admitted_;
};

}  // namespace foundation
