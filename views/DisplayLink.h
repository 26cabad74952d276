#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>

namespace views {

// Calls its target once per displayed frame, at the screen's refresh rate, on the thread that
// created it (the main thread). Frames are kept on a fixed grid from the start, so the rate holds
// even though timers count in whole milliseconds; a frame missed while the target overran is
// skipped, not made up. While paused it has no timer armed and costs nothing.
class DisplayLink : public QObject {
  Q_OBJECT

 public:
  // Starts running at once, like a link added to the main run loop.
  explicit DisplayLink(std::function<void()> target, QObject* parent = nullptr);

  bool isPaused() const { return paused_; }
  void setPaused(bool paused);
  // Stops for good: the target is never called again, and is released.
  void invalidate();

  // Seconds since the link was made, of the frame being delivered.
  double timestamp() const { return timestamp_; }
  // Seconds between frames.
  double duration() const { return frameSeconds_; }

 private:
  void deliverFrame();
  void scheduleNextFrame();

  std::function<void()> target_;
  double frameSeconds_;
  QElapsedTimer clock_;
  QTimer timer_;
  bool paused_ = false;
  bool invalidated_ = false;
  double timestamp_ = 0;
};

}  // namespace views
