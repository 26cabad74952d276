#include "views/DisplayLink.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>
#include <utility>

namespace views {
namespace {

constexpr double kFallbackRefreshRate = 60.0;

double refreshRate() {
  const QScreen* screen = QGuiApplication::primaryScreen();
  const double rate = screen ? screen->refreshRate() : 0.0;
  return rate > 1.0 ? rate : kFallbackRefreshRate;
}

}  // namespace

DisplayLink::DisplayLink(std::function<void()> target, QObject* parent)
    : QObject(parent), target_(std::move(target)), frameSeconds_(1.0 / refreshRate()) {
  timer_.setSingleShot(true);
  timer_.setTimerType(Qt::PreciseTimer);
  connect(&timer_, &QTimer::timeout, this, &DisplayLink::deliverFrame);
  clock_.start();
  scheduleNextFrame();
}

void DisplayLink::setPaused(bool paused) {
  paused_ = paused;
  if (paused_)
    timer_.stop();
  else if (!invalidated_ && !timer_.isActive())
    scheduleNextFrame();
}

void DisplayLink::invalidate() {
  invalidated_ = true;
  timer_.stop();
  target_ = nullptr;
}

void DisplayLink::deliverFrame() {
  timestamp_ = std::floor(clock_.nsecsElapsed() * 1e-9 / frameSeconds_) * frameSeconds_;
  // Held aside while it runs, so that it may invalidate the link that holds it.
  auto target = std::move(target_);
  target();
  if (invalidated_)
    return;
  target_ = std::move(target);
  if (!paused_)
    scheduleNextFrame();
}

void DisplayLink::scheduleNextFrame() {
  const double now = clock_.nsecsElapsed() * 1e-9;
  const double nextFrame = (std::floor(now / frameSeconds_) + 1) * frameSeconds_;
  timer_.start(static_cast<int>(std::ceil((nextFrame - now) * 1000.0)));
}

}  // namespace views
