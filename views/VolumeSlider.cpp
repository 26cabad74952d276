#include "views/VolumeSlider.h"

#include <algorithm>
#include <cmath>

namespace views {
namespace {

constexpr int kSteps = 1000;

}  // namespace

VolumeSlider::VolumeSlider(QWidget* parent) : QSlider(Qt::Horizontal, parent) {
  setRange(0, kSteps);
  setSingleStep(kSteps / 50);
  setPageStep(kSteps / 10);
}

float VolumeSlider::fraction() const {
  return static_cast<float>(value()) / kSteps;
}

void VolumeSlider::setFraction(float fraction) {
  setValue(static_cast<int>(std::lround(std::clamp(fraction, 0.0f, 1.0f) * kSteps)));
}

// The styles paint the filled part of the track in the highlight colour.
void VolumeSlider::setMinimumTrackTintColor(const QColor& color) {
  QPalette tinted = palette();
  tinted.setColor(QPalette::Highlight, color);
  setPalette(tinted);
}

}  // namespace views
