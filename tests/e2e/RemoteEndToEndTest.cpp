// orvanectl against the real Orvane on the test desk: what the remote changes shows on screen
// as after the person's clicks, and what it plays reaches the speaker.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <iostream>
#include <thread>

#include "DesktopSession.h"
#include "OrvaneScreen.h"
#include "Speech.h"
#include "tests/tools/JsonPath.h"
#include "tests/tools/RunningCollector.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using audio::testing::speak;
using ::testing::HasSubstr;

constexpr auto kSilenceAfterPlayback = 800ms;
constexpr auto kPlaybackLimit = 15s;
// After a click the button fades over 0.2 s; the screen has settled well after that.
constexpr auto kSettle = 600ms;
// The row of the effect picture and the Voice and Tone buttons.
constexpr QRect kEffectRow{0, 292, screen::kWidth, 80};

class RemoteEndToEnd : public ::testing::Test {
 protected:
  void SetUp() override {
    desktop_.emplace(speak("Attention please. The store closes in ten minutes."),
                     ORVANE_E2E_SOUND_SERVER);
    desktop_->startOrvane();
    desktop_->waitUntilTalkEnabled();
  }

  void TearDown() override {
    if (HasFailure() && desktop_)
      std::cerr << desktop_->orvaneTranscript() << '\n';
  }

  // Runs the remote and expects Orvane to have carried the command out.
  std::string remote(const std::vector<std::string>& arguments) {
    const auto run = desktop_->runRemote(arguments);
    EXPECT_EQ(run.status, 0) << run.output << run.errors;
    return run.output;
  }

  QImage effectRow() {
    std::this_thread::sleep_for(kSettle);
    return desktop_->screenshot().copy(kEffectRow);
  }

  std::optional<Sound> soundAfter(Clock::time_point since) const {
    return desktop_->speaker().soundAfter(since, kSilenceAfterPlayback, kPlaybackLimit);
  }

  std::optional<DesktopSession> desktop_;
};

TEST_F(RemoteEndToEnd, EffectAndToneShowOnScreenAsAfterTheClicks) {
  const QImage untouched = effectRow();
  EXPECT_EQ(remote({"effect", "monster"}), "effect monster\n");
  EXPECT_EQ(remote({"tone", "on"}), "tone on\n");
  const QImage remoteControlled = effectRow();
  EXPECT_NE(remoteControlled, untouched) << "the screen did not change";
  EXPECT_EQ(remote({"status"}), "effect monster, tone on, output Lobby PA Speaker\n");

  remote({"effect", "normal"});
  remote({"tone", "off"});
  EXPECT_EQ(effectRow(), untouched) << "the remote's changes are not undone on screen";
  desktop_->pointer().click(screen::kEffectButton);  // normal → monster
  desktop_->pointer().click(screen::kToneButton);
  EXPECT_EQ(effectRow(), remoteControlled) << "the clicks show otherwise than the remote";
  EXPECT_EQ(remote({"status"}), "effect monster, tone on, output Lobby PA Speaker\n");

  const auto refused = desktop_->runRemote({"effect", "robot"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.errors, HasSubstr("effect takes one of normal, monster, chipmunk"));
}

TEST_F(RemoteEndToEnd, ReplayAndPlayReachTheSpeaker) {
  const auto nothingYet = desktop_->runRemote({"replay"});
  EXPECT_EQ(nothingYet.status, 1) << "replayed before any take";
  EXPECT_THAT(nothingYet.errors, HasSubstr("no announcement to replay yet"));

  const auto pressed = desktop_->pressTalk();
  std::this_thread::sleep_until(pressed + 2s);
  const auto take = soundAfter(desktop_->pointer().release());
  ASSERT_TRUE(take) << "the take was not announced";

  const auto replayed = Clock::now();
  EXPECT_EQ(remote({"replay"}), "replaying the last announcement\n");
  const auto replay = soundAfter(replayed);
  ASSERT_TRUE(replay) << "the replay did not reach the speaker";
  EXPECT_NEAR(replay->signal.seconds(), take->signal.seconds(), 0.2);

  const auto tone = desktop_->orvaneDirectory("data") / "tone.wav";
  runToEnd({{"sox", "-n", "-r", "44100", "-c", "1", tone.string(), "synth", "1.5", "sine", "660",
             "vol", "0.5"},
            {}});
  const auto played = Clock::now();
  EXPECT_EQ(remote({"play", tone.string()}), "playing " + tone.string() + "\n");
  const auto file = soundAfter(played);
  ASSERT_TRUE(file) << "the file did not reach the speaker";
  EXPECT_NEAR(audio::testing::dominantFrequency(file->signal), 660, 10);
  EXPECT_NEAR(file->signal.seconds(), 1.5, 0.2);

  const auto notAudio = desktop_->runRemote({"play", ORVANECTL_BINARY});
  EXPECT_EQ(notAudio.status, 1);
  EXPECT_THAT(notAudio.errors, HasSubstr("cannot decode"));
}

TEST_F(RemoteEndToEnd, WithOrvaneGoneTheRemoteSaysSo) {
  EXPECT_THAT(remote({"output"}), "Lobby PA Speaker\n");
  desktop_->quitOrvane();
  const auto run = desktop_->runRemote({"status"});
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.errors, HasSubstr("Orvane is not running"));
}

// Each run is a process of its own: the watch session lives on in orvanectl's files between
// runs, and the run that fills it sends it before it ends.
TEST_F(RemoteEndToEnd, TenCommandsFillAWatchSessionThatReachesTheCollector) {
  tallix::RunningCollector collector;
  const std::map<std::string, std::string> toCollector{
      {"ORVANE_ANALYTICS_SERVER", "http://" + collector.host()}};
  constexpr int kCommands = 10;
  for (int run = 0; run < kCommands; ++run)
    ASSERT_EQ(desktop_->runRemote({"output"}, toCollector).status, 0);

  const tallix::TallixJson reports = collector.reports();
  ASSERT_EQ(json_array_size(reports.get()), 1u) << collector.console();
  EXPECT_EQ(tallix::jsonInteger(reports.get(), "0/body/agentKind"), 2) << "not an extension's";
  const json_t* session = tallix::jsonAt(reports.get(), "0/body/sessions/0");
  EXPECT_EQ(tallix::jsonText(session, "eventCounts/0/name"), "orvanectl.output");
  EXPECT_EQ(tallix::jsonInteger(session, "eventCounts/0/count"), kCommands);
  EXPECT_EQ(json_array_size(tallix::jsonAt(session, "events")), std::size_t{kCommands});
}

}  // namespace
}  // namespace e2e
