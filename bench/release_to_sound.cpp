// From letting go of Talk to the announcement at the speaker, with the real binary on a virtual
// X screen and a private sound server (tests/e2e's desk). The clock starts just before xdotool is
// started to send the mouse release, so the figure includes xdotool's own start (printed apart)
// and stops at the first sample of the chime as the speaker's monitor hands it over, less the
// latency that recording stream reports and the sample's place in its 10 ms fragment. The chime
// is on so the sound starts the same way every time, whatever the take caught first.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

#include "DesktopSession.h"
#include "LatencyFigure.h"
#include "OrvaneScreen.h"
#include "Speech.h"

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kReleases = 10;
constexpr auto kHold = 1500ms;
constexpr auto kSilenceAfterPlayback = 800ms;
constexpr auto kPlaybackLimit = 10s;

// The cost of starting xdotool and reaching the display, from a command that sends nothing.
double xdotoolStartMilliseconds(const std::string& display) {
  std::vector<double> runs;
  for (int run = 0; run < 5; ++run) {
    const auto started = e2e::Clock::now();
    e2e::runToEnd({{"xdotool", "getmouselocation"}, {{"DISPLAY", display}}});
    runs.push_back(Milliseconds(e2e::Clock::now() - started).count());
  }
  std::sort(runs.begin(), runs.end());
  return runs[runs.size() / 2];
}

}  // namespace

int main() try {
  e2e::DesktopSession desktop(audio::testing::speak("Attention please. The store closes in ten minutes."));
  desktop.startOrvane();
  desktop.waitUntilTalkEnabled();
  desktop.pointer().click(e2e::screen::kToneButton);
  std::vector<double> milliseconds;
  for (int release = 0; release < kReleases; ++release) {
    const auto pressed = desktop.pressTalk();
    std::this_thread::sleep_until(pressed + kHold);
    const auto released = desktop.pointer().release();
    if (auto sound = desktop.speaker().soundAfter(released, kSilenceAfterPlayback, kPlaybackLimit))
      milliseconds.push_back(Milliseconds(sound->start - released).count());
    else
      std::fprintf(stderr, "release %d: nothing came out\n", release + 1);
  }
  bench::printLatencyFigure("release to sound at the speaker (goal 150 ms)", milliseconds);
  std::printf("%-44s median %6.1f ms\n", "  of which starting xdotool, about",
              xdotoolStartMilliseconds(desktop.displayName()));
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "release_to_sound: %s\n", failure.what());
  return 1;
}
