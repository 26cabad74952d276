#include "views/OndulaWaveformView.h"

#include <QPaintEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace views {
namespace {

constexpr double kTwoPi = 6.283185307179586;
// Single-precision constants, widened: the look was tuned with these exact values.
constexpr double kIdleAmplitude = static_cast<double>(0.01f);
constexpr double kPhaseShift = static_cast<double>(-0.15f);
constexpr double kOneThird = static_cast<double>(1.0f / 3.0f);
// Keeps the waves clear of the top and bottom edges.
constexpr double kVerticalMargin = 4.0;

}  // namespace

OndulaWaveformView::OndulaWaveformView(QWidget* parent) : QWidget(parent) {
  setup();
}

OndulaWaveformView::OndulaWaveformView(const QRect& frame, QWidget* parent) : QWidget(parent) {
  setGeometry(frame);
  setup();
}

void OndulaWaveformView::setup() {
  frequency_ = 1.5;
  amplitude_ = 1.0;
  idleAmplitude_ = kIdleAmplitude;
  numberOfWaves_ = 5;
  phaseShift_ = kPhaseShift;
  density_ = 5.0;
  waveColor_ = Qt::white;
  primaryWaveLineWidth_ = 3.0;
  secondaryWaveLineWidth_ = 1.0;
}

void OndulaWaveformView::updateWithLevel(double level) {
  phase_ += phaseShift_;
  // std::fmax takes the number when the other argument is NaN.
  amplitude_ = std::fmax(level, idleAmplitude_);
  update();
}

// Qt has already painted what lies beneath this (non-opaque) widget, which is what clearing
// the bounds amounts to for a widget.
void OndulaWaveformView::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  // Filling with a clear colour would leave every pixel as it is.
  if (backgroundColor_.alpha() > 0)
    painter.fillRect(event->rect(), backgroundColor_);
  // Drawn at the resolution of the device painted on, which render() may set apart from the
  // screen's.
  const QTransform& toDevice = painter.deviceTransform();
  stroker_.begin(size(), std::hypot(toDevice.m11(), toDevice.m12()), waveColor_);
  traceShape();
  for (unsigned index = 0; index < numberOfWaves_; ++index)
    drawWave(index);
  stroker_.drawOnto(painter);
}

// Flat ends, as a stroked path has by default in the drawing model the look was made in.
void OndulaWaveformView::drawWave(unsigned index) {
  const double progress = 1.0 - static_cast<double>(index) / numberOfWaves_;
  // Late waves turn negative and are drawn upside down; that is part of the look.
  const double normedAmplitude = (1.5 * progress - 0.5) * amplitude_;
  const double lineWidth = index == 0 ? primaryWaveLineWidth_ : secondaryWaveLineWidth_;
  const double halfHeight = height() * 0.5;
  vertices_.clear();
  for (const QPointF& offset : shape_)
    vertices_.emplace_back(offset.x(), halfHeight + normedAmplitude * offset.y());
  stroker_.stroke(vertices_, lineWidth, strokeAlpha(progress));
}

// The wave colour's alpha, scaled down for later waves.
double OndulaWaveformView::strokeAlpha(double progress) const {
  const double alphaFactor = std::min(1.0, progress / 3.0 * 2 + kOneThird);
  return alphaFactor * waveColor_.alphaF();
}

// Every wave is the same curve scaled by its own amplitude: offsets from the vertical centre at
// full amplitude, every `density` points from the left edge to just past the right one, pinned
// flat at both edges by a parabola. The sine is taken in single precision, as the look was tuned
// with.
void OndulaWaveformView::traceShape() {
  shape_.clear();
  const double width = this->width();
  const double mid = width * 0.5;
  const double maxAmplitude = height() * 0.5 - kVerticalMargin;
  // A step that does not advance would never reach the edge.
  if (!(density_ > 0))
    return;
  for (double x = 0.0; x < width + density_; x += density_) {
    const double fromMid = (x - mid) * (1 / mid);
    const double scaling = 1 - fromMid * fromMid;
    const auto argument = static_cast<float>((x / width) * kTwoPi * frequency_ + phase_);
    const double sine = ::sinf(argument);
    shape_.emplace_back(x, maxAmplitude * scaling * sine);
  }
}

}  // namespace views
