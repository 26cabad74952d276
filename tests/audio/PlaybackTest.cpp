#include <cmath>

#include "EngineFixture.h"
#include "audio/AudioUnitTimePitch.h"

namespace audio::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using PlaybackTest = EngineFixture;

constexpr double kVoiceHertz = 440;
constexpr double kToneSeconds = 0.25;

// The chime goes through the time-pitch unit with the voice: whatever the unit holds back at the
// start must not show as a late chime, nor as a pause before the voice.
TEST_F(PlaybackTest, EachEffectShiftsTheVoiceAndTheStartToneLeadsItWithoutAGap) {
  auto engine = makeEngine();
  engine->setStartToneOn(true);
  // Rubber Band's output is lined up to the frame; SoundTouch, the fallback, brings the voice
  // in about 24 ms early an octave up.
  const double earlySeconds =
      AudioUnitTimePitch::chooseEngine() == TimePitchEngine::RubberBand ? 0.01 : 0.03;
  const std::pair<PlaybackEffects, double> effects[] = {
      {PlaybackEffects::NormalVoice, kVoiceHertz},
      {PlaybackEffects::MonsterVoice, kVoiceHertz / std::sqrt(2.0)},
      {PlaybackEffects::ChipmunkVoice, kVoiceHertz * 2}};
  for (auto [effect, voiceHertz] : effects) {
    stageRecording(sharedTake());
    engine->stopRecording();
    engine->setEffect(effect);
    Signal heard = playToOutput(*engine);

    // Encoder priming left in either file would show as a late start of the chime or the voice.
    const std::size_t tenMilliseconds = heard.sampleRate / 100;
    const auto toneEnd = std::size_t(kToneSeconds * heard.sampleRate);
    EXPECT_LE(firstSampleAbove(heard, 0, 0.01f), tenMilliseconds)
        << "the chime starts late, effect " << int(effect);
    // The voice is a sine of peak 0.5; by the end of its quarter second the chime is far quieter.
    const std::size_t voiceOnset = firstSampleAbove(heard, toneEnd * 3 / 4, 0.25f);
    EXPECT_GE(voiceOnset, toneEnd - std::size_t(earlySeconds * heard.sampleRate))
        << "effect " << int(effect);
    EXPECT_LE(voiceOnset, toneEnd + tenMilliseconds)
        << "a pause between chime and voice, effect " << int(effect);
    EXPECT_GT(std::abs(dominantFrequency(heard.slice(0.0, 0.2), 100, 3000) - voiceHertz),
              voiceHertz * 0.2)
        << "the chime comes first, effect " << int(effect);
    EXPECT_NEAR(dominantFrequency(heard.slice(0.4, 1.4)), voiceHertz, voiceHertz * 0.01)
        << "effect " << int(effect);
    EXPECT_NEAR(heard.seconds(), kToneSeconds + 1.5, 0.25) << "effect " << int(effect);
  }
  EXPECT_EQ(notifications_.failures(), 0);

  engine->setStartToneOn(false);
  engine->setEffect(PlaybackEffects::NormalVoice);
  stageRecording(sharedTake());
  engine->stopRecording();
  EXPECT_NEAR(dominantFrequency(playToOutput(*engine).slice(0.0, 0.2)), kVoiceHertz, 3);
}

TEST_F(PlaybackTest, ATakePlaysOnceAndAMissingToneIsSkipped) {
  startTone_ = directory_.path() / "Beep1.m4a";
  auto engine = makeEngine();
  engine->setStartToneOn(true);
  stageRecording(sharedTake());
  engine->stopRecording();
  ::testing::internal::CaptureStdout();
  Signal heard = playToOutput(*engine);
  engine->play();
  engine.reset();  // waits for the second play
  auto log = ::testing::internal::GetCapturedStdout();

  EXPECT_NEAR(dominantFrequency(heard.slice(0.0, 0.2)), kVoiceHertz, 3);
  EXPECT_THAT(log, HasSubstr("Start tone \"Beep1.m4a\" could not be read"));
  EXPECT_THAT(log, HasSubstr("Playback started"));
  EXPECT_THAT(log, HasSubstr("User Error - Audio was not ready for playback"));
  EXPECT_EQ(notifications_.starts(), 1);
  EXPECT_EQ(notifications_.failures(), 1);
}

TEST_F(PlaybackTest, AnUnreadableTakeFailsOnceWhenReadyAndTwiceWhenNot) {
  stageRecording(20000);
  auto log = consoleOf(makeEngine(), [](OrvaneEngine& engine) {
    engine.stopRecording();
    engine.play();
    engine.play();
  });

  EXPECT_THAT(log, HasSubstr("User Error - Audio file was nil"));
  // The first play still starts the engine, with nothing to play; the second has no take.
  EXPECT_EQ(notifications_.starts(), 1);
  EXPECT_EQ(notifications_.failures(), 3);
  EXPECT_EQ(std::filesystem::file_size(playback()), 20000u);
}

TEST_F(PlaybackTest, AnOutputThatCannotOpenKeepsTheTakeReady) {
  stageRecording(sharedTake());
  auto engine = makeEngine(kLiveSine, "pulsesink server=unix:/nonexistent/orvane-test-server");
  auto log = consoleOf(std::move(engine), [](OrvaneEngine& engine) {
    engine.stopRecording();
    engine.play();
    engine.play();
  });

  auto failure = log.find("*** Audio Engine startup Failure: ");
  ASSERT_NE(failure, std::string::npos);
  EXPECT_NE(log.find("*** Audio Engine startup Failure: ", failure + 1), std::string::npos)
      << "the second play tries the same take again";
  EXPECT_THAT(log, Not(HasSubstr("not ready")));
  EXPECT_EQ(notifications_.starts(), 0);
  EXPECT_EQ(notifications_.failures(), 0);
}

// As an output that goes away mid-announcement: the person hears of it once, and the graph stops.
TEST_F(PlaybackTest, AFailureWhilePlayingStopsTheEngineAndIsReportedOnce) {
  stageRecording(sharedTake());
  auto engine = makeEngine(kLiveSine, "identity error-after=20 ! fakesink sync=true");
  ::testing::internal::CaptureStdout();
  engine->stopRecording();
  engine->play();
  EXPECT_TRUE(foundation::eventually([&] { return notifications_.failures() == 1; }));
  EXPECT_TRUE(foundation::eventually([&] { return !engine->audioEngine().isRunning(); }));
  engine.reset();
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("Playback failed: "));
  EXPECT_EQ(notifications_.starts(), 1);
  EXPECT_EQ(notifications_.failures(), 1);
}

}  // namespace
}  // namespace audio::testing
