#include "views/WaveStroker.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <cstring>

namespace views {
namespace {

// Up to this width in device pixels Qt draws strokes as hairlines.
constexpr double kHairlineLimit = 1.0;
// Bounds the work per column where a wave runs nearly upright.
constexpr double kMostSamples = 16;
// Heights are fixed-point, 2^16 steps a pixel, so an arithmetic shift floors to the row and a
// column's step down a segment is one integer addition.
constexpr int kFractionBits = 16;
// Far outside any layer, and far from overflowing once fixed.
constexpr double kFarAway = 1 << 20;

std::int64_t toFixed(double pixels) {
  return std::llround(std::clamp(pixels, -kFarAway, kFarAway) * (1 << kFractionBits));
}

unsigned dividedBy255(unsigned value) {
  value += 128;
  return (value + (value >> 8)) >> 8;
}

}  // namespace

void WaveStroker::begin(QSize size, qreal devicePixelRatio, const QColor& color) {
  const QSize pixels = size * devicePixelRatio;
  if (layer_.size() != pixels) {
    layer_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    layer_.fill(Qt::transparent);
    coverage_.assign(static_cast<std::size_t>(pixels.height()), 0);
  } else if (bottom_ > top_) {
    std::memset(layer_.scanLine(top_), 0,
                static_cast<std::size_t>(layer_.bytesPerLine()) * (bottom_ - top_));
  }
  layer_.setDevicePixelRatio(devicePixelRatio);
  scale_ = devicePixelRatio;
  pixels_ = reinterpret_cast<QRgb*>(layer_.bits());
  pixelsPerRow_ = static_cast<std::size_t>(layer_.bytesPerLine()) / sizeof(QRgb);
  const QRgb opaque = color.rgb() | 0xff000000;
  if (inkAt_.back() != opaque) {
    for (unsigned alpha = 0; alpha < inkAt_.size(); ++alpha)
      inkAt_[alpha] = qPremultiply(qRgba(qRed(opaque), qGreen(opaque), qBlue(opaque), alpha));
  }
  rows_ = layer_.height();
  top_ = rows_;
  bottom_ = 0;
}

// Source-over on alpha alone; the colour comes with the alpha. Inline: it runs for every pixel.
inline void WaveStroker::blendPixel(int x, int row, unsigned alpha) {
  QRgb& pixel =
      pixels_[static_cast<std::size_t>(row) * pixelsPerRow_ + static_cast<std::size_t>(x)];
  pixel = inkAt_[alpha + dividedBy255(qAlpha(pixel) * (255 - alpha))];
}

void WaveStroker::stroke(std::span<const QPointF> vertices, double lineWidth, double alpha) {
  // Like Qt's hairlines, a stroke up to a pixel wide is drawn a pixel wide and faded instead.
  const double width = lineWidth * scale_;
  const bool hairline = width <= kHairlineLimit;
  if (hairline && width > 0)
    alpha *= width;
  const double steepest = setSegments(vertices, hairline ? kHairlineLimit : width, hairline);
  if (segments_.empty() || layer_.isNull())
    return;
  const auto alpha255 = static_cast<unsigned>(std::clamp(alpha, 0.0, 1.0) * 255 + 0.5);
  const int samples = static_cast<int>(std::min(std::floor(steepest) + 1, kMostSamples));
  if (samples == 1)
    strokeSampledOnce(alpha255);
  else
    strokeSampled(samples, alpha255);
}

// One sample at the centre of each column, blended straight into the layer.
void WaveStroker::strokeSampledOnce(unsigned alpha) {
  for (const Segment& segment : segments_) {
    const int first = std::max(0, static_cast<int>(std::ceil(segment.x0 - 0.5)));
    const int end = std::min(layer_.width(), static_cast<int>(std::ceil(segment.x1 - 0.5)));
    if (first >= end)
      continue;
    const double centre = segment.centreAt(first + 0.5);
    std::int64_t top = toFixed(centre - segment.halfThickness);
    std::int64_t bottom = toFixed(centre + segment.halfThickness);
    const std::int64_t step = toFixed(segment.slope);
    noteRows(top, bottom + step * (end - 1 - first));
    noteRows(top + step * (end - 1 - first), bottom);
    for (int x = first; x < end; ++x, top += step, bottom += step)
      forEachRowOf(top, bottom, [&](int row, unsigned share) {
        blendPixel(x, row, (share * alpha + 128) >> 8);
      });
  }
}

// `samples` per column, summed before the column is blended.
void WaveStroker::strokeSampled(int samples, unsigned alpha) {
  const double step = 1.0 / samples;
  const unsigned full = 256 * static_cast<unsigned>(samples);
  const int firstColumn = std::max(0, static_cast<int>(segments_.front().x0));
  const int endColumn = std::min(layer_.width(), static_cast<int>(std::ceil(segments_.back().x1)));
  auto segment = segments_.cbegin();
  for (int x = firstColumn; x < endColumn && segment != segments_.cend(); ++x) {
    int columnTop = rows_, columnBottom = 0;
    for (int sample = 0; sample < samples; ++sample) {
      const double at = x + (sample + 0.5) * step;
      while (segment != segments_.cend() && segment->x1 <= at)
        ++segment;
      if (segment == segments_.cend() || segment->x0 > at)
        continue;
      const double centre = segment->centreAt(at);
      const std::int64_t top = toFixed(centre - segment->halfThickness);
      const std::int64_t bottom = toFixed(centre + segment->halfThickness);
      forEachRowOf(top, bottom, [&](int row, unsigned share) {
        coverage_[static_cast<std::size_t>(row)] += share;
        columnTop = std::min(columnTop, row);
        columnBottom = std::max(columnBottom, row + 1);
      });
      noteRows(top, bottom);
    }
    for (int row = columnTop; row < columnBottom; ++row) {
      std::uint32_t& covered = coverage_[static_cast<std::size_t>(row)];
      blendPixel(x, row, (covered * alpha + full / 2) / full);
      covered = 0;
    }
  }
}

// Calls `visit` with each row of the layer that the band from `top` to `bottom` (fixed) reaches,
// and the 256ths of that row it covers.
template <typename Visit>
void WaveStroker::forEachRowOf(std::int64_t top, std::int64_t bottom, Visit visit) const {
  const auto last = static_cast<int>(std::min<std::int64_t>(bottom >> kFractionBits, rows_ - 1));
  for (auto row = static_cast<int>(std::max<std::int64_t>(top >> kFractionBits, 0)); row <= last;
       ++row) {
    const std::int64_t rowTop = std::int64_t{row} << kFractionBits;
    const std::int64_t covered =
        std::min(bottom, rowTop + (1 << kFractionBits)) - std::max(top, rowTop);
    visit(row, static_cast<unsigned>(covered >> (kFractionBits - 8)));
  }
}

// Widens the rows drawn since begin() to take in the band from `top` to `bottom` (fixed).
void WaveStroker::noteRows(std::int64_t top, std::int64_t bottom) {
  top_ = static_cast<int>(std::clamp<std::int64_t>(top >> kFractionBits, 0, top_));
  bottom_ =
      static_cast<int>(std::clamp<std::int64_t>((bottom >> kFractionBits) + 1, bottom_, rows_));
}

// In device pixels, `width` too; returns the steepest slope. A hairline is as thick as its width
// down a column until the slope passes 45°, then across a row; a wider stroke across the line.
double WaveStroker::setSegments(std::span<const QPointF> vertices, double width, bool hairline) {
  segments_.clear();
  double steepest = 0;
  for (std::size_t i = 1; i < vertices.size(); ++i) {
    const QPointF from = vertices[i - 1] * scale_, to = vertices[i] * scale_;
    if (!(to.x() > from.x()))
      continue;
    const double slope = (to.y() - from.y()) / (to.x() - from.x());
    const double stretch = hairline ? std::max(1.0, std::abs(slope)) : std::sqrt(1 + slope * slope);
    segments_.push_back({from.x(), to.x(), from.y(), slope, width * 0.5 * stretch});
    steepest = std::max(steepest, std::abs(slope));
  }
  return steepest;
}

void WaveStroker::drawOnto(QPainter& painter) const {
  if (bottom_ <= top_)
    return;
  const QRect rows(0, top_, layer_.width(), bottom_ - top_);
  painter.drawImage(QPointF(0, top_ / scale_), layer_, rows);
}

}  // namespace views
