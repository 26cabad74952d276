// Frame cost of the waveform display: the median time to paint five waves in a 1920×200 view,
// and the share of one core that the display-link-driven update loop takes at 60 frames per
// second (paint, Qt's repaint machinery and the link itself; drawn offscreen, so the window
// system's own work is not in it), for a full-width strip and for the main screen's size.
#include <sys/resource.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "views/DisplayLink.h"
#include "views/OndulaWaveformView.h"

namespace {

constexpr QRect kFrame(0, 0, 1920, 200);
constexpr QRect kMainScreenFrame(0, 0, 480, 200);
constexpr int kPaintFrames = 3000;
constexpr int kLoopSeconds = 10;

// Something like speech: a level that swells and falls a few times a second.
double speechLikeLevel(int frame) {
  return 0.35 + 0.3 * std::sin(frame * 0.21) * std::sin(frame * 0.043);
}

// The waveform as the main screen styles it.
void styleAsOnScreen(views::OndulaWaveformView& view) {
  view.setWaveColor(QColor::fromRgbF(1.0f, 1.0f, 1.0f, 0.5f));
}

double processCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& t) { return t.tv_sec + t.tv_usec * 1e-6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void measurePaint() {
  views::OndulaWaveformView view(kFrame);
  styleAsOnScreen(view);
  QImage target(kFrame.size(), QImage::Format_ARGB32_Premultiplied);
  std::vector<double> milliseconds;
  QElapsedTimer clock;
  for (int frame = 0; frame < kPaintFrames; ++frame) {
    view.updateWithLevel(speechLikeLevel(frame));
    target.fill(Qt::black);
    clock.start();
    view.render(&target, {}, {}, QWidget::DrawChildren);
    milliseconds.push_back(clock.nsecsElapsed() * 1e-6);
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  std::printf("waveform paint, five waves, 1920x200: median %.3f ms, 95th percentile %.3f ms\n",
              milliseconds[milliseconds.size() / 2], milliseconds[milliseconds.size() * 95 / 100]);
}

void measureLoop(QApplication& application, const QRect& frame) {
  QWidget window;
  QPalette dark = window.palette();
  dark.setColor(QPalette::Window, Qt::black);
  window.setPalette(dark);
  window.resize(frame.size());
  views::OndulaWaveformView view(frame, &window);
  styleAsOnScreen(view);
  window.show();
  int frames = 0;
  views::DisplayLink link([&] { view.updateWithLevel(speechLikeLevel(frames++)); });
  QElapsedTimer wall;
  double cpuAtStart = 0;
  // The first second warms up caches and the backing store; it is not counted.
  QTimer::singleShot(1000, [&] {
    frames = 0;
    cpuAtStart = processCpuSeconds();
    wall.start();
  });
  QTimer::singleShot(1000 + kLoopSeconds * 1000, &application, &QApplication::quit);
  application.exec();
  const double seconds = wall.nsecsElapsed() * 1e-9;
  std::printf("display-link loop, %dx%d, at %.1f frames/s (link rate %.1f/s): %.2f%% of one core\n",
              frame.width(), frame.height(), frames / seconds, 1.0 / link.duration(),
              100.0 * (processCpuSeconds() - cpuAtStart) / seconds);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
    qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  measurePaint();
  measureLoop(application, kFrame);
  measureLoop(application, kMainScreenFrame);
}
