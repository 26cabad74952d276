#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "Eventually.h"
#include "SignalAnalysis.h"
#include "TemporaryDirectory.h"
#include "audio/OrvaneEngine.h"
#include "platform/SoundServer.h"

namespace audio::testing {

// Counts the engine's notifications as they arrive, from whatever thread posts them.
class NotificationCounter {
 public:
  NotificationCounter();
  ~NotificationCounter();
  int count(const std::string& name) const;
  int failures() const { return count(std::string(OrvaneEngine::kPlaybackFailedNotification)); }
  int starts() const { return count(OrvaneEngine::playbackStartedNotificationName()); }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, int> counts_;
};

// An engine on GStreamer test devices, writing into a fresh directory. The session talks to no
// sound server, so only its category is of interest.
class EngineFixture : public ::testing::Test {
 protected:
  static constexpr const char* kLiveSine =
      "audiotestsrc is-live=true wave=sine freq=440 volume=0.5";

  EngineFixture();
  std::unique_ptr<OrvaneEngine> makeEngine(const std::string& source = kLiveSine);
  std::unique_ptr<OrvaneEngine> makeEngine(const std::string& source, const std::string& sink);

  std::filesystem::path recording() const { return documents_ / "recording.m4a"; }
  std::filesystem::path playback() const { return documents_ / "playback.m4a"; }
  std::filesystem::path output() const { return directory_.path() / "output.wav"; }

  // A take of live 440 Hz, recorded once for the whole test program.
  static const std::filesystem::path& sharedTake();
  // Holds the Talk button for `seconds` of live input.
  void recordTake(OrvaneEngine& engine, double seconds);
  // Puts `bytes` of `content` where the recorder writes, as if a take had just ended.
  void stageRecording(const std::filesystem::path& content);
  void stageRecording(std::size_t bytes);
  // What the engine prints while `actions` run on it and until its queued plays have finished;
  // the engine is gone afterwards.
  static std::string consoleOf(std::unique_ptr<OrvaneEngine> engine,
                               const std::function<void(OrvaneEngine&)>& actions);
  // Plays the ready take and returns what reached the output, once it is all there.
  Signal playToOutput(OrvaneEngine& engine);

  foundation::TemporaryDirectory directory_;
  std::filesystem::path documents_ = directory_.path() / "documents";
  std::filesystem::path startTone_ = ORVANE_START_TONE;
  platform::SoundServer noServer_{"unix:/nonexistent/orvane-test-server"};
  platform::AudioSession* engineSession_ = &noServer_.session();
  NotificationCounter notifications_;
};

}  // namespace audio::testing
