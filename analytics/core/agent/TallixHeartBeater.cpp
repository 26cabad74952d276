#include "analytics/core/agent/TallixHeartBeater.h"

#include "foundation/NotificationCenter.h"
#include "foundation/Timer.h"

namespace tallix {

TallixHeartBeater::TallixHeartBeater(foundation::DispatchQueue& queue,
                                     foundation::NotificationCenter& center)
    : queue_(queue), center_(center) {}

TallixHeartBeater::~TallixHeartBeater() {
  stop();
}

void TallixHeartBeater::start(std::chrono::duration<double> interval) {
  stop();
  timer_ = foundation::Timer::scheduled(
      queue_, std::chrono::duration_cast<foundation::Timer::Interval>(interval), true,
      [&center = center_](foundation::Timer&) { center.post("TallixHeartBeatNotification"); });
}

void TallixHeartBeater::stop() {
  if (timer_)
    timer_->invalidate();
  timer_.reset();
}

}  // namespace tallix
