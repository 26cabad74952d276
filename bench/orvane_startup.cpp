// Cold start of the real binary to its first painted frame, on a virtual X screen with a private
// sound server and private XDG directories: the wall time from just before Orvane is started to
// its "First frame painted" line. One warm-up start first, so GStreamer's registry is built and the
// figure is a user's everyday start, not the first one after an install.
#include <chrono>
#include <cstdio>
#include <exception>

#include "DesktopSession.h"
#include "LatencyFigure.h"
#include "Speech.h"

int main() try {
  constexpr int kStarts = 20;
  e2e::DesktopSession desktop(audio::testing::speak("Startup."));
  desktop.startOrvane();
  std::vector<double> milliseconds;
  for (int start = 0; start < kStarts; ++start) {
    const auto painted = desktop.startOrvane();
    milliseconds.push_back(std::chrono::duration<double, std::milli>(painted).count());
  }
  desktop.quitOrvane();
  bench::printLatencyFigure("start to first painted frame (goal 400 ms)", milliseconds);
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "orvane_startup: %s\n", failure.what());
  return 1;
}
