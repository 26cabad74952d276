#include "EngineFixture.h"

#include <chrono>
#include <fstream>
#include <thread>

#include "foundation/NotificationCenter.h"

namespace audio::testing {

NotificationCounter::NotificationCounter() {
  for (std::string name : {std::string(OrvaneEngine::kPlaybackFailedNotification),
                           OrvaneEngine::playbackStartedNotificationName()}) {
    foundation::NotificationCenter::defaultCenter().addObserver(
        name, this, [this, name](const foundation::Notification&) {
          std::lock_guard lock(mutex_);
          ++counts_[name];
        });
  }
}

NotificationCounter::~NotificationCounter() {
  foundation::NotificationCenter::defaultCenter().removeObserver(this);
}

int NotificationCounter::count(const std::string& name) const {
  std::lock_guard lock(mutex_);
  auto found = counts_.find(name);
  return found == counts_.end() ? 0 : found->second;
}

EngineFixture::EngineFixture() {
  std::filesystem::create_directories(documents_);
}

const std::filesystem::path& EngineFixture::sharedTake() {
  static foundation::TemporaryDirectory directory;
  static const std::filesystem::path take = [] {
    struct Recorder : EngineFixture {
      void TestBody() override {}
    } recorder;
    auto engine = recorder.makeEngine();
    recorder.recordTake(*engine, 1.5);
    auto kept = directory.path() / "take.m4a";
    std::filesystem::copy_file(recorder.playback(), kept);
    return kept;
  }();
  return take;
}

std::unique_ptr<OrvaneEngine> EngineFixture::makeEngine(const std::string& source) {
  return makeEngine(source,
                    "audio/x-raw,format=S16LE ! wavenc ! filesink location=" + output().string());
}

std::unique_ptr<OrvaneEngine> EngineFixture::makeEngine(const std::string& source,
                                                        const std::string& sink) {
  OrvaneEngineConfiguration configuration;
  configuration.documentsDirectory = documents_;
  configuration.startTonePath = startTone_;
  configuration.sourceDescription = source;
  configuration.sinkDescription = sink;
  configuration.session = engineSession_;
  return std::make_unique<OrvaneEngine>(configuration);
}

void EngineFixture::recordTake(OrvaneEngine& engine, double seconds) {
  engine.startRecording();
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
  engine.stopRecording();
}

void EngineFixture::stageRecording(const std::filesystem::path& content) {
  std::filesystem::copy_file(content, recording(),
                             std::filesystem::copy_options::overwrite_existing);
}

void EngineFixture::stageRecording(std::size_t bytes) {
  std::ofstream(recording(), std::ios::binary) << std::string(bytes, 'x');
}

std::string EngineFixture::consoleOf(std::unique_ptr<OrvaneEngine> engine,
                                     const std::function<void(OrvaneEngine&)>& actions) {
  ::testing::internal::CaptureStdout();
  actions(*engine);
  engine.reset();
  return ::testing::internal::GetCapturedStdout();
}

Signal EngineFixture::playToOutput(OrvaneEngine& engine) {
  int startsBefore = notifications_.starts();
  engine.play();
  std::optional<Signal> signal;
  bool complete = foundation::eventually([&] {
    return notifications_.starts() > startsBefore && engine.audioEngine().hasFinishedPlaying() &&
           (signal = readCompleteWav(output()));
  });
  EXPECT_TRUE(complete) << "nothing complete reached " << output();
  return signal.value_or(Signal{});
}

}  // namespace audio::testing
