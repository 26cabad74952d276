#include <gtest/gtest.h>

#include <QPainter>
#include <QPolygonF>
#include <cmath>
#include <limits>

#include "Rendering.h"
#include "views/OndulaWaveformView.h"

namespace views {
namespace {

constexpr double kIdle = 0.009999999776482582;
constexpr double kStep = -0.15000000596046448;
constexpr double kPi = 3.141592653589793;

// Where the first wave must pass at column x: the vertical centre plus the sine, pinned at both
// edges by the parabola, with the sine of the single-precision argument.
double firstWaveY(const OndulaWaveformView& view, double x) {
  const double width = view.width(), halfHeight = view.height() * 0.5, mid = width * 0.5;
  const double scaling = 1 - std::pow((x - mid) / mid, 2);
  const float argument =
      static_cast<float>(x / width * 6.283185307179586 * view.frequency() + view.phase());
  return halfHeight + view.amplitude() * (halfHeight - 4.0) * scaling * std::sin(argument);
}

// The middle of what is drawn in column x, weighing each row by its brightness.
double centreOfColumn(const QImage& image, int x) {
  double weighted = 0, total = 0;
  for (int y = 0; y < image.height(); ++y) {
    weighted += (y + 0.5) * brightness(image, x, y);
    total += brightness(image, x, y);
  }
  return weighted / total;
}

// Qt's own stroke of the first wave's vertices, every `density` points, joined, flat ends.
QImage strokedByQt(const OndulaWaveformView& view, double lineWidth) {
  QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::black);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(Qt::white, lineWidth, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin));
  QPolygonF wave;
  for (double x = 0; x < view.width() + view.density(); x += view.density())
    wave << QPointF(x, firstWaveY(view, x));
  painter.drawPolyline(wave);
  return image;
}

// How far apart two drawings are in the ink of each run of five columns (a step between
// vertices at the default density): the largest share of a run's ink by which they differ.
// Single columns may trade ink with their neighbours; that is below what the eye resolves.
double inkApart(const QImage& a, const QImage& b) {
  constexpr int kRun = 5;
  double largest = 0;
  for (int run = 0; run + kRun <= a.width(); run += kRun) {
    double inkA = 0, inkB = 0;
    for (int x = run; x < run + kRun; ++x)
      for (int y = 0; y < a.height(); ++y) {
        inkA += brightness(a, x, y);
        inkB += brightness(b, x, y);
      }
    largest = std::max(largest, std::abs(inkA - inkB) / std::max(inkA, inkB));
  }
  return largest;
}

int brightestRow(const QImage& image, int x) {
  int row = 0;
  for (int y = 1; y < image.height(); ++y)
    if (brightness(image, x, y) > brightness(image, x, row))
      row = y;
  return row;
}

TEST(OndulaWaveformView, StartsWithTheDefaultsAndSetupRestoresAllButThePhase) {
  OndulaWaveformView framed(QRect(10, 20, 300, 100));
  EXPECT_EQ(framed.geometry(), QRect(10, 20, 300, 100));
  for (OndulaWaveformView* view : {&framed, new OndulaWaveformView}) {
    EXPECT_EQ(view->numberOfWaves(), 5u);
    EXPECT_EQ(view->waveColor(), QColor(Qt::white));
    EXPECT_EQ(view->primaryWaveLineWidth(), 3.0);
    EXPECT_EQ(view->secondaryWaveLineWidth(), 1.0);
    EXPECT_EQ(view->idleAmplitude(), kIdle);
    EXPECT_EQ(view->frequency(), 1.5);
    EXPECT_EQ(view->amplitude(), 1.0);
    EXPECT_EQ(view->density(), 5.0);
    EXPECT_EQ(view->phaseShift(), kStep);
    EXPECT_EQ(view->phase(), 0.0);
    if (view != &framed)
      delete view;
  }
  framed.setNumberOfWaves(2);
  framed.setWaveColor(Qt::red);
  framed.setPrimaryWaveLineWidth(7);
  framed.setIdleAmplitude(0.5);
  framed.setDensity(1);
  framed.setPhaseShift(2);
  framed.setPhase(4);
  framed.setup();
  EXPECT_EQ(framed.numberOfWaves(), 5u);
  EXPECT_EQ(framed.waveColor(), QColor(Qt::white));
  EXPECT_EQ(framed.primaryWaveLineWidth(), 3.0);
  EXPECT_EQ(framed.idleAmplitude(), kIdle);
  EXPECT_EQ(framed.density(), 5.0);
  EXPECT_EQ(framed.phaseShift(), kStep);
  EXPECT_EQ(framed.phase(), 4.0);
}

TEST(OndulaWaveformView, EveryUpdateStepsThePhaseAndFloorsTheLevelAtIdle) {
  OndulaWaveformView view;
  double expectedPhase = 0;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (double level : {0.5, 0.0, -1.0, 0.001, nan, 1.0}) {
    view.updateWithLevel(level);
    expectedPhase += kStep;
    EXPECT_EQ(view.phase(), expectedPhase);
    EXPECT_EQ(view.amplitude(), level > kIdle ? level : kIdle) << level;
  }
  EXPECT_EQ(view.phase(), 6 * kStep);
}

TEST(OndulaWaveformView, FirstWavePassesThroughTheFormulasPixels) {
  OndulaWaveformView view(QRect(0, 0, 400, 200));
  view.setNumberOfWaves(1);
  view.setPhase(0.7);
  view.setAmplitude(0.8);
  const QImage image = renderedOverBlack(view);
  for (int x : {0, 50, 100, 150, 200, 265, 330, 395}) {
    EXPECT_NEAR(centreOfColumn(image, x), firstWaveY(view, x + 0.5), 0.5) << "column " << x;
    EXPECT_EQ(brightness(image, x, brightestRow(image, x)), 255) << "column " << x;
  }
  // Pinned at both edges, well away from the centre in the middle.
  EXPECT_NEAR(centreOfColumn(image, 0), 100, 1);
  EXPECT_NEAR(centreOfColumn(image, 399), 100, 1);
  EXPECT_GT(std::abs(centreOfColumn(image, 150) - 100), 20);
}

// Steep and shallow, bold and hairline, each frame drawn over the one before: the view puts as
// much ink in each column as Qt's own stroke of the same vertices, and nothing of the frame
// before.
TEST(OndulaWaveformView, WavesCarryTheInkOfQtsOwnStrokeFrameAfterFrame) {
  OndulaWaveformView view(QRect(0, 0, 400, 200));
  view.setNumberOfWaves(1);
  view.setPhase(0.4);
  for (double lineWidth : {3.0, 1.0, 0.5})
    for (double amplitude : {1.0, 0.3, 0.01}) {
      view.setPrimaryWaveLineWidth(lineWidth);
      view.setAmplitude(amplitude);
      const double apart = inkApart(renderedOverBlack(view), strokedByQt(view, lineWidth));
      EXPECT_LT(apart, 0.1) << lineWidth << " wide, amplitude " << amplitude;
    }
}

TEST(OndulaWaveformView, DrawsOnlyTheBackgroundWithoutWaves) {
  OndulaWaveformView view(QRect(0, 0, 120, 60));
  view.setNumberOfWaves(0);
  view.setBackgroundColor(QColor(200, 0, 0));
  QImage image = renderedOverBlack(view);
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      ASSERT_EQ(image.pixel(x, y), QColor(200, 0, 0).rgb()) << x << "," << y;
  view.setNumberOfWaves(1);
  image = renderedOverBlack(view);
  EXPECT_EQ(image.pixel(60, brightestRow(image, 60)), qRgb(255, 255, 255));
}

// With the sine at its crest in the middle, five waves cross the centre column at distinct
// heights; drawn three pixels wide, their middle rows show each wave's own alpha.
TEST(OndulaWaveformView, LaterWavesFadeAndAWaveColoursAlphaScalesThemAll) {
  OndulaWaveformView view(QRect(0, 0, 400, 200));
  view.setSecondaryWaveLineWidth(3);
  view.setPhase(-kPi);
  const double normed[] = {1.0, 0.7, 0.4, 0.1, -0.2};
  const double alphas[] = {1.0, 0.867, 0.733, 0.6, 0.467};
  for (double colourAlpha : {1.0, 0.5}) {
    QColor colour = Qt::white;
    colour.setAlphaF(static_cast<float>(colourAlpha));
    view.setWaveColor(colour);
    const QImage image = renderedOverBlack(view);
    for (int wave = 0; wave < 5; ++wave) {
      const int row = static_cast<int>(std::floor(100 + normed[wave] * 96));
      EXPECT_NEAR(brightness(image, 202, row), alphas[wave] * colourAlpha * 255, 2.5)
          << "wave " << wave << " colour alpha " << colourAlpha;
    }
  }
}

// A level of silence still moves the waves by a hundredth of their height.
TEST(OndulaWaveformView, SilenceAndNanStillDrawTheFaintRipple) {
  OndulaWaveformView view(QRect(0, 0, 400, 1000));
  view.setNumberOfWaves(1);
  for (double level : {0.0, std::numeric_limits<double>::quiet_NaN()}) {
    view.setPhase(-kPi - kStep);
    view.updateWithLevel(level);
    const QImage image = renderedOverBlack(view);
    // 500 + 0.01 × 496 at the crest.
    EXPECT_EQ(brightestRow(image, 200), 504) << level;
  }
}

}  // namespace
}  // namespace views
