#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "Speech.h"
#include "TimePitchRun.h"
#include "audio/PlaybackEffects.h"
#include "audio/RubberBandPitch.h"

namespace audio::testing {
namespace {

using ::testing::HasSubstr;

constexpr double kSawtoothHertz = 120;

double ratioOf(PlaybackEffects effect) {
  return std::exp2(*pitchForEffect(effect) / 1200);
}

class TimePitchTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (AudioUnitTimePitch::chooseEngine() != TimePitchEngine::RubberBand)
      GTEST_SKIP() << "built without Rubber Band";
  }
  static constexpr PlaybackEffects kEffects[] = {
      PlaybackEffects::NormalVoice, PlaybackEffects::MonsterVoice, PlaybackEffects::ChipmunkVoice};
};

// The steady state of a sawtooth: each harmonic moves by the interval, and little else appears.
TEST_F(TimePitchTest, ASawtoothLandsOnEachEffectsPitchCleanly) {
  const Signal input = sawtooth(kSawtoothHertz, 3.0);
  for (auto effect : kEffects) {
    const Signal out = shifted(input, TimePitchEngine::RubberBand, *pitchForEffect(effect));
    EXPECT_EQ(out.samples.size(), input.samples.size()) << "effect " << int(effect);
    const double expected = kSawtoothHertz * ratioOf(effect);
    const auto content = harmonicContent(out.slice(0.5, 2.5), expected);
    EXPECT_NEAR(content.fundamental, expected, expected * 0.01) << "effect " << int(effect);
    EXPECT_GE(content.harmonicToNoiseDb, 30) << "effect " << int(effect);
  }
}

// SoundTouch lost 1.9 dB of the voice's harmonicity an octave up; Rubber Band gains some.
TEST_F(TimePitchTest, SpeechLandsOnEachEffectsPitchAndStaysAsHarmonic) {
  const Signal speech = speak("Attention please. The store closes in ten minutes.");
  const double spokenPitch = medianPitch(speech).value();
  const double spokenHarmonicity = voiceHarmonicToNoise(speech).value();
  for (auto effect : kEffects) {
    const Signal out = shifted(speech, TimePitchEngine::RubberBand, *pitchForEffect(effect));
    const auto pitch = medianPitch(out);
    ASSERT_TRUE(pitch) << "effect " << int(effect);
    EXPECT_NEAR(*pitch / spokenPitch, ratioOf(effect), ratioOf(effect) * 0.01)
        << "effect " << int(effect);
    EXPECT_GE(voiceHarmonicToNoise(out).value_or(0), spokenHarmonicity - 1.5)
        << "effect " << int(effect);
  }
}

// As in a build or on a machine without Rubber Band: the unit falls back and still shifts.
TEST(TimePitchFallback, WithoutRubberBandSoundTouchShiftsAndSaysSo) {
  ensureGStreamer();
  GstRegistry* registry = gst_registry_get();
  GstPluginFeature* rubberBand = gst_registry_lookup_feature(registry, kRubberBandPitchFactory);
  if (rubberBand)
    gst_registry_remove_feature(registry, rubberBand);
  ::testing::internal::CaptureStdout();
  const auto engine = AudioUnitTimePitch::chooseEngine();
  const auto log = ::testing::internal::GetCapturedStdout();
  EXPECT_EQ(engine, TimePitchEngine::SoundTouch);
  EXPECT_THAT(log, HasSubstr("Time-pitch unit: SoundTouch, as Rubber Band is not available"));

  const double expected = kSawtoothHertz * ratioOf(PlaybackEffects::MonsterVoice);
  const Signal out = shifted(sawtooth(kSawtoothHertz, 3.0), engine,
                             *pitchForEffect(PlaybackEffects::MonsterVoice));
  EXPECT_NEAR(harmonicContent(out.slice(0.5, 2.5), expected).fundamental, expected,
              expected * 0.01);
  if (rubberBand)
    gst_registry_add_feature(registry, rubberBand);  // takes the reference
}

}  // namespace
}  // namespace audio::testing
