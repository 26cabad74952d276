// Orvane as a person uses it: on a real (virtual) screen with key repeat on, with real pointer and
// key events, a microphone that hears speech and a speaker whose sound is recorded and measured.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <cmath>
#include <iostream>
#include <thread>

#include "CpuLoad.h"
#include "DesktopSession.h"
#include "OrvaneScreen.h"
#include "Speech.h"

namespace e2e {

void PrintTo(const WindowPoint& point, std::ostream* stream) {
  *stream << '(' << point.x << ", " << point.y << ')';
}

namespace {

using namespace std::chrono_literals;
using audio::testing::dominantFrequency;
using audio::testing::medianPitch;
using audio::testing::speak;
using ::testing::AnyOf;
using ::testing::DoubleNear;

constexpr const char* kAnnouncement =
    "Attention please. The store closes in ten minutes. Please bring your purchases to the tills.";
constexpr auto kFirstWords = 450ms;
constexpr auto kSilenceAfterPlayback = 1s;
constexpr auto kPlaybackLimit = 15s;

// The monster voice: half an octave down.
const double kMonsterRatio = std::pow(2.0, -600.0 / 1200.0);
// The chime's partials (resources/make-Beep1.sh) and its length.
constexpr double kChimeLow = 1318.5, kChimeHigh = 1975.5;
constexpr double kChimeSeconds = 0.25;

class EndToEnd : public ::testing::Test {
 protected:
  void SetUp() override {
    desktop_.emplace(speak(kAnnouncement), ORVANE_E2E_SOUND_SERVER);
    desktop_->startOrvane();
    desktop_->waitUntilTalkEnabled();
  }

  void TearDown() override {
    if (HasFailure() && desktop_)
      std::cerr << desktop_->orvaneTranscript() << '\n';
  }

  // The person starts speaking as they press.
  void awaitSpeech() const {
    std::this_thread::sleep_until(desktop_->microphone().nextStartOfSpeech());
  }

  // The one sound that came out after the release, once it has ended.
  std::optional<Sound> announcementAfter(Clock::time_point released) const {
    return desktop_->speaker().soundAfter(released, kSilenceAfterPlayback, kPlaybackLimit);
  }

  // The voice's shift is judged by its median fundamental over voiced steps (YIN), against the
  // same measure of what the microphone was hearing while Talk was held. A fundamental is what a
  // pitch shift moves, untouched by AAC's band limit, and its median shrugs off the rough steps
  // SoundTouch leaves at −600 cents; a spectral centroid would move with the vowels caught and
  // the codec's filtering. The speech's own intonation is no error either, since the same
  // stretch of it is compared: the ratio came out within 0.6 % of the effect's for all three
  // effects. 3 % either side keeps the unshifted voice (ratio 1) and the chipmunk (ratio 2) far
  // out.
  void expectVoiceShiftedBy(const audio::testing::Signal& voice, double ratio,
                            Clock::time_point pressed, Clock::time_point released) const {
    const auto spokenPitch = medianPitch(desktop_->microphone().heardBetween(pressed, released));
    ASSERT_TRUE(spokenPitch) << "the microphone heard no voice while Talk was held";
    const auto voicePitch = medianPitch(voice);
    ASSERT_TRUE(voicePitch) << "no voice in the announcement";
    EXPECT_NEAR(*voicePitch / *spokenPitch, ratio, ratio * 0.03)
        << "spoken at " << *spokenPitch << " Hz, announced at " << *voicePitch << " Hz";
  }

  std::size_t linesSince(const std::string& text, Clock::time_point since) const {
    return desktop_->orvaneOutput().countLines(text, since);
  }

  std::optional<DesktopSession> desktop_;
};

// The take goes through the monster effect with the chime in front. The chime goes through the
// same pitch unit as the voice, so it comes out half an octave down too.
TEST_F(EndToEnd, AHeldTalkAnnouncesTheChimeThenTheVoiceShiftedByTheEffect) {
  desktop_->pointer().click(screen::kToneButton);
  desktop_->pointer().click(screen::kEffectButton);  // normal → monster
  awaitSpeech();
  const auto pressed = desktop_->pressTalk();
  std::this_thread::sleep_until(pressed + kFirstWords);
  desktop_->saveScreenshot(ORVANE_E2E_SCREENSHOT);
  std::this_thread::sleep_until(pressed + 2s);
  const auto released = desktop_->pointer().release();

  const auto sound = announcementAfter(released);
  ASSERT_TRUE(sound) << "no announcement came out of the speaker after Talk was released";
  const auto& heard = sound->signal;
  EXPECT_THAT(
      dominantFrequency(heard.slice(0, kChimeSeconds * 0.8), 500, 4500),
      AnyOf(DoubleNear(kChimeLow * kMonsterRatio, 10), DoubleNear(kChimeHigh * kMonsterRatio, 10)))
      << "the announcement does not open with the chime, half an octave down";
  EXPECT_GT(heard.seconds(), kChimeSeconds + 1.0) << "the voice is cut short";
  expectVoiceShiftedBy(heard.slice(kChimeSeconds + 0.05, heard.seconds()), kMonsterRatio, pressed,
                       released);

  EXPECT_EQ(linesSince("HideWaveformView", released), 1u);
  EXPECT_EQ(linesSince("Playback started", released), 1u);
  const QImage screenshot(QString::fromUtf8(ORVANE_E2E_SCREENSHOT));
  ASSERT_FALSE(screenshot.isNull()) << "no screenshot at " << ORVANE_E2E_SCREENSHOT;
  EXPECT_GT(screenshot.pixelColor(screen::kTalkButtonFace.x, screen::kTalkButtonFace.y).lightness(),
            200)
      << "Talk is not lit while held";
}

// Space held for four seconds while two other programs keep both cores busy, with the focus
// wherever the last click left it: the key repeats some hundred times, and the person still
// hears one announcement of what they said, once they let go.
class SpaceHeld : public EndToEnd, public ::testing::WithParamInterface<WindowPoint> {};

TEST_P(SpaceHeld, OnABusyMachineMakesOneTakeAndOneAnnouncement) {
  desktop_->pointer().click(GetParam());
  const CpuLoad load(2);
  awaitSpeech();
  const auto pressed = desktop_->pressTalkKey("space");
  std::this_thread::sleep_until(pressed + 4s);
  const auto released = desktop_->keyboard().release("space");

  const auto sound = announcementAfter(pressed);
  ASSERT_TRUE(sound) << "no announcement came out of the speaker after Space was released";
  EXPECT_GT(sound->start, released) << "something played while Space was held";
  EXPECT_GT(sound->signal.seconds(), 3.0) << "the announcement is cut short";
  expectVoiceShiftedBy(sound->signal, 1.0, pressed, released);
  EXPECT_FALSE(desktop_->speaker().soundAfter(sound->end() + 10ms, 200ms, 2s))
      << "a second announcement followed the first";
  EXPECT_EQ(linesSince("ShowWaveformView", pressed), 1u) << "the hold started more than one take";
  EXPECT_EQ(linesSince("File size is", pressed), 1u);
  EXPECT_EQ(linesSince("Playback started", pressed), 1u);
  EXPECT_EQ(linesSince("User Error", pressed), 0u);
  EXPECT_EQ(desktop_->orvaneErrors().find("CRITICAL"), std::string::npos)
      << "GStreamer asserted on its caller";
}

INSTANTIATE_TEST_SUITE_P(FocusOnTheScreen, SpaceHeld, ::testing::Values(screen::kBackground),
                         [](const auto&) { return "AfterAClickOnTheScreen"; });
INSTANTIATE_TEST_SUITE_P(FocusOnTheVolume, SpaceHeld, ::testing::Values(screen::kVolumeSlider),
                         [](const auto&) { return "AfterAClickOnTheVolumeSlider"; });

}  // namespace
}  // namespace e2e
