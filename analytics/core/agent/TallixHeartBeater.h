#pragma once

#include <chrono>
#include <memory>

namespace foundation {
class DispatchQueue;
class NotificationCenter;
class Timer;
}  // namespace foundation

namespace tallix {

// Posts "TallixHeartBeatNotification" at a steady rate, for the parts of the agent that work
// on a beat rather than on a timer each.
class TallixHeartBeater {
 public:
  TallixHeartBeater(foundation::DispatchQueue& queue, foundation::NotificationCenter& center);
  ~TallixHeartBeater();

  void start(std::chrono::duration<double> interval);
  void stop();

 private:
  foundation::DispatchQueue& queue_;
  foundation::NotificationCenter& center_;
  std::shared_ptr<foundation::Timer> timer_;
};

}  // namespace tallix
