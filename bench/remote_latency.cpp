// The remote's two latencies against the real Orvane on tests/e2e's desk (virtual screen, private
// sound server). A command's round trip is timed in process with orvanectl's own client: connect,
// hello, command, reply; a whole orvanectl run, process start included, is printed beside it.
// Replay-to-sound runs orvanectl replay and stops at the first sample of the chime at the
// speaker's monitor, corrected as in release_to_sound; the chime is on so every replay starts
// the same way.
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

#include "DesktopSession.h"
#include "LatencyFigure.h"
#include "Speech.h"
#include "companion/ControlClient.h"

namespace {

using namespace std::chrono_literals;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr int kRoundTrips = 200;
constexpr int kRemoteRuns = 30;
constexpr int kReplays = 10;
constexpr auto kSilenceAfterPlayback = 800ms;
constexpr auto kPlaybackLimit = 10s;

void expectDone(const e2e::DesktopSession::RemoteRun& run) {
  if (run.status != 0)
    throw std::runtime_error("orvanectl failed: " + run.errors);
}

std::vector<double> roundTrips(const e2e::DesktopSession& desktop) {
  const companion::ControlClient client(desktop.instanceSocket().string(), 5s);
  std::vector<double> milliseconds;
  for (int round = 0; round < kRoundTrips; ++round) {
    const auto started = e2e::Clock::now();
    const auto result = client.send("status");
    const auto answered = e2e::Clock::now();
    if (result.outcome != companion::ControlClient::Outcome::Done)
      throw std::runtime_error("status refused: " + result.text);
    milliseconds.push_back(Milliseconds(answered - started).count());
  }
  return milliseconds;
}

std::vector<double> remoteRuns(const e2e::DesktopSession& desktop) {
  std::vector<double> milliseconds;
  for (int run = 0; run < kRemoteRuns; ++run) {
    const auto started = e2e::Clock::now();
    expectDone(desktop.runRemote({"status"}));
    milliseconds.push_back(Milliseconds(e2e::Clock::now() - started).count());
  }
  return milliseconds;
}

std::vector<double> replaysToSound(e2e::DesktopSession& desktop) {
  const auto pressed = desktop.pressTalk();
  std::this_thread::sleep_until(pressed + 1500ms);
  if (!desktop.speaker().soundAfter(desktop.pointer().release(), kSilenceAfterPlayback,
                                    kPlaybackLimit))
    throw std::runtime_error("the take was not announced");
  std::vector<double> milliseconds;
  for (int replay = 0; replay < kReplays; ++replay) {
    const auto started = e2e::Clock::now();
    expectDone(desktop.runRemote({"replay"}));
    if (auto sound = desktop.speaker().soundAfter(started, kSilenceAfterPlayback, kPlaybackLimit))
      milliseconds.push_back(Milliseconds(sound->start - started).count());
    else
      std::fprintf(stderr, "replay %d: nothing came out\n", replay + 1);
  }
  return milliseconds;
}

}  // namespace

int main() try {
  e2e::DesktopSession desktop(audio::testing::speak("Attention please. The store closes in ten minutes."));
  desktop.startOrvane();
  desktop.waitUntilTalkEnabled();
  expectDone(desktop.runRemote({"tone", "on"}));
  bench::printLatencyFigure("command to reply, in process (goal 5 ms)", roundTrips(desktop));
  bench::printLatencyFigure("  a whole orvanectl status run", remoteRuns(desktop));
  bench::printLatencyFigure("orvanectl replay to sound (goal 60 ms)", replaysToSound(desktop));
  return 0;
} catch (const std::exception& failure) {
  std::fprintf(stderr, "remote_latency: %s\n", failure.what());
  return 1;
}
