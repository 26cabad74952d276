// The engine on the sound server's default input and output (a private PulseAudio with a null
// source and sink, started by the test run).
#include <stdio.h>

#include <array>
#include <thread>

#include "EngineFixture.h"
#include "audio/MediaDiscoverer.h"

namespace audio::testing {
namespace {

using ::testing::HasSubstr;

std::string pactl(const std::string& arguments) {
  std::string output;
  FILE* pipe = popen(("LC_ALL=C pactl " + arguments).c_str(), "r");
  std::array<char, 4096> chunk;
  while (std::size_t read = fread(chunk.data(), 1, chunk.size(), pipe))
    output.append(chunk.data(), read);
  pclose(pipe);
  return output;
}

class SoundServerTest : public EngineFixture {
 protected:
  SoundServerTest() { engineSession_ = &serverSession_; }
  std::unique_ptr<OrvaneEngine> makeServerEngine() {
    OrvaneEngineConfiguration defaults;
    return makeEngine(defaults.sourceDescription, defaults.sinkDescription);
  }
  platform::AudioSession serverSession_;
};

TEST_F(SoundServerTest, RecordsFromTheDefaultInputAsAPhoneStream) {
  auto engine = makeServerEngine();
  engine->startRecording();
  EXPECT_TRUE(foundation::eventually([] {
    return pactl("list source-outputs").find("media.role = \"phone\"") != std::string::npos;
  }));
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  engine->stopRecording();

  // Silence from the null source makes a take too small to keep, but a well-formed one.
  EXPECT_EQ(notifications_.failures(), 1);
  auto info = MediaDiscoverer::discover(recording());
  ASSERT_TRUE(info);
  EXPECT_TRUE(info->isAac);
  EXPECT_EQ(info->channels, 1);
  EXPECT_EQ(info->sampleRate, 44100);
}

TEST_F(SoundServerTest, PlaysToTheDefaultOutputAsMusicFromOrvane) {
  auto engine = makeServerEngine();
  stageRecording(sharedTake());
  engine->stopRecording();
  engine->play();
  std::string streams;
  EXPECT_TRUE(foundation::eventually([&] {
    streams = pactl("list sink-inputs");
    return streams.find("media.role = \"music\"") != std::string::npos;
  })) << streams;
  EXPECT_THAT(streams, HasSubstr("application.name = \"Orvane\""));
  EXPECT_TRUE(foundation::eventually([&] { return engine->audioEngine().hasFinishedPlaying(); }));
  EXPECT_EQ(notifications_.starts(), 1);
  EXPECT_EQ(notifications_.failures(), 0);
}

// As the sound server quitting mid-announcement (a crash, a logout), on a server of the test's own.
TEST_F(SoundServerTest, ASoundServerLeavingWhilePlayingIsReported) {
  const std::filesystem::path server = directory_.path() / "leaving";
  const std::string script = PRIVATE_PULSE_SCRIPT;
  std::filesystem::create_directories(server);
  ASSERT_EQ(std::system((script + " start " + server.string()).c_str()), 0);
  auto engine = makeEngine(kLiveSine, "pulsesink server=unix:" + (server / "native").string());
  stageRecording(sharedTake());
  engine->stopRecording();
  engine->play();
  ASSERT_TRUE(foundation::eventually([&] { return notifications_.starts() == 1; }));
  ASSERT_EQ(std::system((script + " stop " + server.string()).c_str()), 0);
  EXPECT_TRUE(foundation::eventually([&] { return notifications_.failures() == 1; }));
  EXPECT_FALSE(engine->audioEngine().isRunning());
}

}  // namespace
}  // namespace audio::testing
