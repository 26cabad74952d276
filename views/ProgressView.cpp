#include "views/ProgressView.h"

#include <algorithm>

namespace views {
namespace {

constexpr int kSteps = 10000;
constexpr double kShortGlideSeconds = 0.25;

}  // namespace

ProgressView::ProgressView(QWidget* parent) : QProgressBar(parent) {
  setRange(0, kSteps);
  setTextVisible(false);
  glide_.setTargetObject(this);
  glide_.setPropertyName("progress");
}

void ProgressView::setProgress(float progress, bool animated) {
  glide(progress, animated ? kShortGlideSeconds : 0, QEasingCurve::InOutQuad);
}

void ProgressView::animateProgress(float progress, double seconds) {
  glide(progress, seconds, QEasingCurve::Linear);
}

void ProgressView::glide(float progress, double seconds, QEasingCurve::Type curve) {
  glide_.stop();
  if (seconds <= 0) {
    showProgress(progress);
    return;
  }
  glide_.setEasingCurve(curve);
  glide_.setStartValue(progress_);
  glide_.setEndValue(progress);
  glide_.setDuration(static_cast<int>(seconds * 1000));
  glide_.start();
}

void ProgressView::showProgress(float progress) {
  progress_ = std::clamp(progress, 0.0f, 1.0f);
  setValue(static_cast<int>(progress_ * kSteps));
}

}  // namespace views
