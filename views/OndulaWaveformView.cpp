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
  painter.fillRect(event->rect(), backgroundColor_);
  painter.setRenderHint(QPainter::Antialiasing);
  for (unsigned index = 0; index < numberOfWaves_; ++index)
    drawWave(painter, index);
}

void OndulaWaveformView::drawWave(QPainter& painter, unsigned index) {
  const double progress = 1.0 - static_cast<double>(index) / numberOfWaves_;
  // Late waves turn negative and are drawn upside down; that is part of the look.
  const double normedAmplitude = (1.5 * progress - 0.5) * amplitude_;
  const double lineWidth = index == 0 ? primaryWaveLineWidth_ : secondaryWaveLineWidth_;
  // Flat ends and mitred corners, the defaults of the drawing model the look was made in.
  painter.setPen(QPen(strokeColor(progress), lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  traceWave(normedAmplitude);
  strokeWave(painter, lineWidth);
}

// Qt's raster engine strokes a long antialiased polyline wider than a pixel several times more
// slowly than the same line as separate segments, and at a few points a step the bends of
// separate segments differ from true joins by a small fraction of a pixel. Hairlines have a fast
// path of their own that draws the joined polyline.
void OndulaWaveformView::strokeWave(QPainter& painter, double lineWidth) {
  if (lineWidth <= 1.0) {
    painter.drawPolyline(vertices_.data(), static_cast<int>(vertices_.size()));
    return;
  }
  segments_.clear();
  for (std::size_t i = 1; i < vertices_.size(); ++i)
    segments_.emplace_back(vertices_[i - 1], vertices_[i]);
  painter.drawLines(segments_.data(), static_cast<int>(segments_.size()));
}

QColor OndulaWaveformView::strokeColor(double progress) const {
  const double alphaFactor = std::min(1.0, progress / 3.0 * 2 + kOneThird);
  QColor color = waveColor_;
  color.setAlphaF(static_cast<float>(alphaFactor * waveColor_.alphaF()));
  return color;
}

// Vertices every `density` points from the left edge to just past the right one, each wave
// pinned flat at both edges by a parabola. The sine is taken in single precision, as the look
// was tuned with.
void OndulaWaveformView::traceWave(double normedAmplitude) {
  vertices_.clear();
  const double width = this->width();
  const double halfHeight = height() * 0.5;
  const double mid = width * 0.5;
  const double maxAmplitude = halfHeight - kVerticalMargin;
  // A step that does not advance would never reach the edge.
  if (!(density_ > 0))
    return;
  for (double x = 0.0; x < width + density_; x += density_) {
    const double fromMid = (x - mid) * (1 / mid);
    const double scaling = 1 - fromMid * fromMid;
    const auto argument = static_cast<float>((x / width) * kTwoPi * frequency_ + phase_);
    const double sine = ::sinf(argument);
    vertices_.emplace_back(x, halfHeight + normedAmplitude * maxAmplitude * scaling * sine);
  }
}

}  // namespace views
