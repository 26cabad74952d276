#pragma once

#include <QColor>
#include <QImage>
#include <QPointF>
#include <QSize>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

class QPainter;

namespace views {

// Strokes waves (polylines whose x only grows) of one colour into a layer of its own, then puts
// the layer on screen with one image draw.
//
// Design note: Qt's raster stroker hands every antialiased pixel to its blender as a span of its
// own and, for wide pens, sets up a rasteriser per segment; at 1920 columns that costs far more
// than the geometry. A wave is a height field: in each pixel column the stroke is one vertical
// band, whose share of each pixel it covers is found from the band's ends alone. Where the wave
// runs steeper than 45° a column takes one sample per row crossed, so the edge stays smooth
// sideways too. Coverage is summed per column before blending, so where segments meet there is
// no seam. Strokes up to one pixel wide are drawn as Qt draws its hairlines, wider ones with their
// true width across the line.
// All strokes of a frame share one colour and differ in alpha, so a pixel is blended on its alpha
// alone and its colour looked up.
class WaveStroker {
 public:
  // Clears what the previous frame drew; `size` is in logical pixels. The colour's alpha is
  // ignored: each stroke brings its own.
  void begin(QSize size, qreal devicePixelRatio, const QColor& color);
  // Flat ends at the first and last vertex, like a stroked path with flat caps; `alpha` 0 to 1.
  void stroke(std::span<const QPointF> vertices, double lineWidth, double alpha);
  // Draws the rows that were stroked since begin(), over whatever the painter holds.
  void drawOnto(QPainter& painter) const;

 private:
  struct Segment {
    double x0, x1, y0, slope, halfThickness;
    double centreAt(double x) const { return y0 + slope * (x - x0); }
  };
  double setSegments(std::span<const QPointF> vertices, double width, bool hairline);
  void strokeSampledOnce(unsigned alpha);
  void strokeSampled(int samples, unsigned alpha);
  template <typename Visit>
  void forEachRowOf(std::int64_t top, std::int64_t bottom, Visit visit) const;
  void noteRows(std::int64_t top, std::int64_t bottom);
  void blendPixel(int x, int row, unsigned alpha);

  QImage layer_;
  qreal scale_ = 1;
  QRgb* pixels_ = nullptr;
  std::size_t pixelsPerRow_ = 0;
  int rows_ = 0;
  std::array<QRgb, 256> inkAt_{};  // the colour, premultiplied, at each alpha
  std::vector<Segment> segments_;
  // The column being stroked: per row, the 256ths of a pixel covered, summed over its samples.
  std::vector<std::uint32_t> coverage_;
  int top_ = 0, bottom_ = 0;  // rows drawn since begin(), in device pixels
};

}  // namespace views
