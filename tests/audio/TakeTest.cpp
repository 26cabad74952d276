#include <cmath>
#include <fstream>
#include <thread>

#include "EngineFixture.h"
#include "audio/MediaDiscoverer.h"

namespace audio::testing {
namespace {

using platform::AudioSessionCategory;
using ::testing::HasSubstr;
using ::testing::Not;
using TakeTest = EngineFixture;

TEST_F(TakeTest, ARecordedTakeIsMonoAacAt44100AndReplacesTheLastOne) {
  auto engine = makeEngine();
  ::testing::internal::CaptureStdout();
  engine->startRecording();
  EXPECT_EQ(engineSession_->category(), AudioSessionCategory::PlayAndRecord);
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  engine->stopRecording();
  EXPECT_EQ(engineSession_->category(), AudioSessionCategory::Playback);
  auto firstLog = ::testing::internal::GetCapturedStdout();

  ASSERT_TRUE(std::filesystem::exists(playback()));
  EXPECT_FALSE(std::filesystem::exists(recording()));
  EXPECT_THAT(firstLog,
              HasSubstr("File size is " + std::to_string(std::filesystem::file_size(playback()))));
  EXPECT_THAT(firstLog, Not(HasSubstr("Old file deleted")));
  auto info = MediaDiscoverer::discover(playback());
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->isAac);
  EXPECT_EQ(info->sampleRate, 44100);
  EXPECT_EQ(info->channels, 1);
  EXPECT_NEAR(info->durationSeconds, 1.5, 0.25);
  EXPECT_NEAR(engine->playbackLength(), info->durationSeconds, 0.001);

  ::testing::internal::CaptureStdout();
  stageRecording(10001);
  engine->stopRecording();
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("Old file deleted"));
  EXPECT_EQ(std::filesystem::file_size(playback()), 10001u);
  EXPECT_EQ(engine->playbackLength(), 0.0) << "the length is read afresh, and this is no audio";
  EXPECT_EQ(notifications_.failures(), 0);
}

TEST_F(TakeTest, ATakeMustBeLongerThan10000Bytes) {
  std::ofstream(playback()) << "the last good take";
  stageRecording(10000);
  auto log = consoleOf(makeEngine(), [](OrvaneEngine& engine) {
    engine.stopRecording();
    engine.play();
  });

  EXPECT_THAT(log, HasSubstr("File size is 10000"));
  // Once for the short take, then twice from play: the old file is no audio, and nothing is ready.
  EXPECT_THAT(log, HasSubstr("User Error - Audio file was nil"));
  EXPECT_THAT(log, HasSubstr("User Error - Audio was not ready for playback"));
  EXPECT_EQ(notifications_.failures(), 3);
  EXPECT_EQ(std::filesystem::file_size(playback()), std::string("the last good take").size());

  auto engine = makeEngine();
  stageRecording(10001);
  engine->stopRecording();
  EXPECT_EQ(std::filesystem::file_size(playback()), 10001u);
  EXPECT_FALSE(std::filesystem::exists(recording()));
  EXPECT_EQ(notifications_.failures(), 3);
}

// Whatever is in the way of the playback file, the take that could not be moved is not ready.
TEST_F(TakeTest, ATakeThatCannotBeKeptIsNotPlayed) {
  std::filesystem::create_directories(playback() / "in the way");
  stageRecording(sharedTake());
  auto log = consoleOf(makeEngine(), [](OrvaneEngine& engine) {
    engine.stopRecording();
    engine.play();
  });

  EXPECT_THAT(log, HasSubstr("The take could not be kept: "));
  EXPECT_THAT(log, HasSubstr("User Error - Audio was not ready for playback"));
  EXPECT_EQ(notifications_.starts(), 0);
  // The move, then play: the playback file is no audio, and nothing is ready.
  EXPECT_EQ(notifications_.failures(), 3);
}

TEST_F(TakeTest, ReleasingWithoutATakeSaysNothing) {
  auto engine = makeEngine();
  ::testing::internal::CaptureStdout();
  engine->stopRecording();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(notifications_.failures(), 0);
}

TEST_F(TakeTest, ResetWhileRecordingKeepsTheTakeQuietly) {
  auto engine = makeEngine();
  engine->startRecording();
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  engine->reset();

  EXPECT_FALSE(engine->recorder().isRecording());
  EXPECT_GT(std::filesystem::file_size(recording()), 0u);
  EXPECT_FALSE(std::filesystem::exists(playback()));
  EXPECT_EQ(engineSession_->category(), AudioSessionCategory::Playback);
  EXPECT_EQ(engine->audioLevel(), 0.0);
  EXPECT_EQ(notifications_.failures(), 0);
}

// The take's level and the room's around it are one scale.
TEST_F(TakeTest, LevelsAreTheInputPowerOnASixtyDecibelScaleInAndBetweenTakes) {
  auto engine = makeEngine("audiotestsrc is-live=true wave=sine freq=440 volume=0.1");
  // A sine of peak 0.1 has an rms power of 20·log10(0.1/√2) dBFS.
  const float decibels = 20.0f * std::log10(0.1f / std::sqrt(2.0f));
  const double expected = std::pow(10.0f, decibels / 60.0f);
  auto reaches = [&](auto level) {
    return foundation::eventually([&] { return std::fabs(level() - expected) < 0.005; });
  };
  EXPECT_EQ(engine->audioLevel(), 0.0);
  EXPECT_TRUE(reaches([&] { return engine->roomLevel(); })) << engine->roomLevel();
  engine->startRecording();
  EXPECT_TRUE(reaches([&] { return engine->audioLevel(); })) << engine->audioLevel();
  engine->stopRecording();
  EXPECT_EQ(engine->audioLevel(), 0.0);
  EXPECT_TRUE(reaches([&] { return engine->roomLevel(); })) << engine->roomLevel();
}

TEST_F(TakeTest, AnInputThatCannotOpenLeavesNoTake) {
  auto log = consoleOf(makeEngine("pulsesrc server=unix:/nonexistent/orvane-test-server"),
                       [](OrvaneEngine& engine) {
                         engine.startRecording();
                         EXPECT_EQ(engine.audioLevel(), 0.0);
                         engine.stopRecording();
                         engine.play();
                       });

  EXPECT_THAT(log, HasSubstr("Recording failed: "));
  EXPECT_THAT(log, Not(HasSubstr("File size is")));
  EXPECT_THAT(log, HasSubstr("User Error - Audio file was nil"));
  EXPECT_THAT(log, HasSubstr("User Error - Audio was not ready for playback"));
  EXPECT_EQ(notifications_.failures(), 2);
}

TEST_F(TakeTest, AnUnwritableDocumentsDirectoryFailsTheTakeClearly) {
  std::ofstream(directory_.path() / "not-a-directory") << "x";
  documents_ = directory_.path() / "not-a-directory" / "documents";
  auto engine = makeEngine();
  ::testing::internal::CaptureStdout();
  engine->startRecording();
  engine->stopRecording();
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("Recording failed: "));
  EXPECT_EQ(notifications_.failures(), 0);
}

}  // namespace
}  // namespace audio::testing
