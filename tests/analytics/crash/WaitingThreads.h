#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>

namespace tallix {

// Threads that only wait, so a crash or live report has more than one thread to stop and walk.
inline void startWaitingThreads(int count) {
  // Never destroyed: the threads still wait on them while the process ends.
  static auto* mutex = new std::mutex;
  static auto* never = new std::condition_variable;
  for (int i = 0; i < count; ++i)
    std::thread([] {
      std::unique_lock lock(*mutex);
      never->wait(lock, [] { return false; });
    }).detach();
}

}  // namespace tallix
