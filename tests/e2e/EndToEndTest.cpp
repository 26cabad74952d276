// Orvane as a person uses it: on a real (virtual) screen, with real pointer events, a microphone
// that hears speech and a speaker whose sound is recorded and measured.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <cmath>
#include <iostream>
#include <thread>

#include "DesktopSession.h"
#include "OrvaneScreen.h"
#include "Speech.h"

namespace e2e {
namespace {

using namespace std::chrono_literals;
using audio::testing::dominantFrequency;
using audio::testing::medianPitch;
using ::testing::AnyOf;
using ::testing::DoubleNear;

constexpr const char* kAnnouncement =
    "Attention please. The store closes in ten minutes. Please bring your purchases to the tills.";
constexpr auto kHold = 2s;
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
  void TearDown() override {
    if (HasFailure() && desktop_)
      std::cerr << desktop_->orvaneTranscript() << '\n';
  }

  // Waits for a line Orvane prints once the take is over and its announcement has started.
  void expectConsoleLine(const std::string& line, Clock::time_point since) {
    EXPECT_TRUE(desktop_->orvaneOutput().waitForLine(line, since, 5s))
        << "Orvane did not print \"" << line << '"';
  }

  std::optional<DesktopSession> desktop_;
};

// The take goes through the monster effect with the chime in front. The chime goes through the
// same pitch unit as the voice, so it comes out half an octave down too.
//
// The voice's shift is judged by its median fundamental over voiced steps (YIN), against the same
// measure of what the microphone was hearing while Talk was held. A fundamental is what a pitch
// shift moves, untouched by AAC's band limit, and its median shrugs off the rough steps SoundTouch
// leaves at −600 cents; a spectral centroid would move with the vowels caught and the codec's
// filtering. The speech's own intonation is no error either, since the same stretch of it is
// compared: the ratio came out within 0.6 % of the effect's for all three effects. 3 % either
// side keeps the unshifted voice (ratio 1) and the chipmunk (ratio 2) far out.
TEST_F(EndToEnd, AHeldTalkAnnouncesTheChimeThenTheVoiceShiftedByTheEffect) {
  desktop_.emplace(speak(kAnnouncement), ORVANE_E2E_SOUND_SERVER);
  desktop_->startOrvane();
  desktop_->waitUntilTalkEnabled();

  desktop_->pointer().click(screen::kToneButton);
  desktop_->pointer().click(screen::kEffectButton);  // normal → monster
  // The person starts speaking as they press, and the picture is taken on their first words.
  std::this_thread::sleep_until(desktop_->microphone().nextStartOfSpeech());
  const auto pressed = desktop_->pressTalk();
  std::this_thread::sleep_until(pressed + kFirstWords);
  desktop_->saveScreenshot(ORVANE_E2E_SCREENSHOT);
  std::this_thread::sleep_until(pressed + kHold);
  const auto released = desktop_->pointer().release();

  const auto sound =
      desktop_->speaker().soundAfter(released, kSilenceAfterPlayback, kPlaybackLimit);
  ASSERT_TRUE(sound) << "no announcement came out of the speaker after Talk was released";
  const auto& heard = sound->signal;
  EXPECT_THAT(
      dominantFrequency(heard.slice(0, kChimeSeconds * 0.8), 500, 4500),
      AnyOf(DoubleNear(kChimeLow * kMonsterRatio, 10), DoubleNear(kChimeHigh * kMonsterRatio, 10)))
      << "the announcement does not open with the chime, half an octave down";
  EXPECT_GT(heard.seconds(), kChimeSeconds + 1.0) << "the voice is cut short";
  const auto spokenPitch = medianPitch(desktop_->microphone().heardBetween(pressed, released));
  ASSERT_TRUE(spokenPitch) << "the microphone heard no voice while Talk was held";
  const auto voicePitch = medianPitch(heard.slice(kChimeSeconds + 0.05, heard.seconds()));
  ASSERT_TRUE(voicePitch) << "no voice after the chime";
  EXPECT_NEAR(*voicePitch / *spokenPitch, kMonsterRatio, kMonsterRatio * 0.03)
      << "spoken at " << *spokenPitch << " Hz, announced at " << *voicePitch << " Hz";

  expectConsoleLine("ShowWaveformView", pressed);
  expectConsoleLine("HideWaveformView", released);
  expectConsoleLine("File size is", released);
  expectConsoleLine("Playback started", released);
  const QImage screenshot(QString::fromUtf8(ORVANE_E2E_SCREENSHOT));
  ASSERT_FALSE(screenshot.isNull()) << "no screenshot at " << ORVANE_E2E_SCREENSHOT;
  EXPECT_GT(screenshot.pixelColor(screen::kTalkButtonFace.x, screen::kTalkButtonFace.y).lightness(),
            200)
      << "Talk is not lit while held";
}

}  // namespace
}  // namespace e2e
