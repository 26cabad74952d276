#pragma once

#include <QProgressBar>
#include <QPropertyAnimation>

namespace views {

// A thin bar showing progress as a fraction from 0 to 1, which can glide to a new value.
class ProgressView : public QProgressBar {
  Q_OBJECT
  Q_PROPERTY(float progress READ progress WRITE showProgress)

 public:
  explicit ProgressView(QWidget* parent = nullptr);

  float progress() const { return progress_; }
  // Animated: a short glide from where the bar is shown now. Either way a glide under way stops.
  void setProgress(float progress, bool animated);
  // Glides linearly to `progress` over `seconds`; at once when that is 0 or less.
  void animateProgress(float progress, double seconds);

 private:
  void glide(float progress, double seconds, QEasingCurve::Type curve);
  void showProgress(float progress);

  float progress_ = 0;
  QPropertyAnimation glide_;
};

}  // namespace views
