#include "views/VolumeSlider.h"

#include <QPainter>
#include <QStyleOptionSlider>
#include <algorithm>
#include <cmath>

namespace views {
namespace {

constexpr int kSteps = 1000;
constexpr double kTrackThickness = 3.0;

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

void VolumeSlider::paintEvent(QPaintEvent*) {
  QStyleOptionSlider option;
  initStyleOption(&option);
  const QRect handle =
      style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this);
  const double radius = std::min(handle.width(), handle.height()) * 0.5;
  const QPointF knob = QRectF(handle).center();
  const double left = radius;
  const double right = width() - radius;

  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(
      QPen(palette().color(QPalette::Mid), kTrackThickness, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(knob.x(), knob.y()), QPointF(right, knob.y()));
  painter.setPen(
      QPen(palette().color(QPalette::Highlight), kTrackThickness, Qt::SolidLine, Qt::RoundCap));
  painter.drawLine(QPointF(left, knob.y()), QPointF(knob.x(), knob.y()));
  painter.setPen(Qt::NoPen);
  painter.setBrush(isEnabled() ? QColor(Qt::white) : palette().color(QPalette::Mid));
  painter.drawEllipse(knob, radius, radius);
}

}  // namespace views
