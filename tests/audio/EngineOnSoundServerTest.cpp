// The engine on the sound server's default input and output (a private PulseAudio with a null
// source and sink, started by the test run).
#include <stdio.h>

#include <array>
#include <fstream>
#include <optional>
#include <thread>

#include "EngineFixture.h"
#include "audio/MediaDiscoverer.h"
#include "foundation/DispatchQueue.h"

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

// A PulseAudio of a test's own in `directory`, with `lines` of configuration after the script's.
class PrivateServer {
 public:
  PrivateServer(std::filesystem::path directory, const std::string& lines)
      : directory_(std::move(directory)) {
    std::filesystem::create_directories(directory_);
    std::ofstream(directory_ / "extra.pa") << lines;
    EXPECT_EQ(script("start", (directory_ / "extra.pa").string()), 0);
  }
  ~PrivateServer() { script("stop"); }
  // The server property of the sound server's elements.
  std::string address() const { return "server=unix:" + (directory_ / "native").string(); }

 private:
  int script(const std::string& action, const std::string& extra = {}) const {
    return std::system(
        (std::string(PRIVATE_PULSE_SCRIPT) + ' ' + action + ' ' + directory_.string() + ' ' + extra)
            .c_str());
  }
  std::filesystem::path directory_;
};

class EngineOnSoundServer : public EngineFixture {
 protected:
  EngineOnSoundServer() { engineSession_ = &server_.session(); }
  std::unique_ptr<OrvaneEngine> makeServerEngine() {
    OrvaneEngineConfiguration defaults;
    return makeEngine(defaults.sourceDescription, defaults.sinkDescription);
  }
  platform::SoundServer server_;
};

TEST_F(EngineOnSoundServer, RecordsFromTheDefaultInputAsAPhoneStream) {
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

TEST_F(EngineOnSoundServer, PlaysToTheDefaultOutputAsMusicFromOrvane) {
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

// Counts GLib's critical messages, the assertions GStreamer makes on its callers, while it lives.
class CriticalMessages {
 public:
  CriticalMessages() { previous_ = g_log_set_default_handler(&count, this); }
  ~CriticalMessages() { g_log_set_default_handler(previous_, nullptr); }
  int count() const { return count_.load(); }

 private:
  static void count(const gchar* domain, GLogLevelFlags level, const gchar* text, gpointer self) {
    if (level & G_LOG_LEVEL_CRITICAL)
      ++static_cast<CriticalMessages*>(self)->count_;
    g_log_default_handler(domain, level, text, nullptr);
  }
  GLogFunc previous_;
  std::atomic<int> count_{0};
};

// A press every 100 ms, as a stuttering key makes them, each release answered with the screen's
// reset: GStreamer asserts nothing, the graph keeps no leftovers, and the last good take is not
// played again. The microphone, on a server of the test's own, has not said a word yet, as a
// virtual one handing over large chunks has not when a tap ends.
TEST_F(EngineOnSoundServer, TakesStartedAndStoppedEveryHundredMillisecondsStayClean) {
  const PrivateServer server(directory_.path() / "quiet",
                             "load-module module-pipe-source source_name=quiet file=" +
                                 (directory_.path() / "quiet" / "microphone").string() +
                                 "\nset-default-source quiet\n");
  CriticalMessages criticals;
  auto engine = makeEngine("pulsesrc " + server.address(), "fakesink sync=true");
  stageRecording(sharedTake());
  engine->stopRecording();
  engine->play();
  ASSERT_TRUE(foundation::eventually([&] { return engine->audioEngine().hasFinishedPlaying(); }));
  const int children = GST_BIN_NUMCHILDREN(engine->audioEngine().pipeline());
  foundation::DispatchQueue audioQ("test.audioQ");
  for (int press = 0; press < 20; ++press) {
    audioQ.async([&] { engine->startRecording(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    audioQ.async([&] {
      engine->stopRecording();
      engine->play();
      engine->reset();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  audioQ.sync([] {});
  engine->reset();

  EXPECT_EQ(criticals.count(), 0);
  EXPECT_LE(GST_BIN_NUMCHILDREN(engine->audioEngine().pipeline()), children);
  EXPECT_EQ(notifications_.starts(), 1);
  EXPECT_FALSE(engine->recorder().isRecording());
}

// As the sound server quitting mid-announcement (a crash, a logout), on a server of the test's own.
TEST_F(EngineOnSoundServer, ASoundServerLeavingWhilePlayingIsReported) {
  std::optional<PrivateServer> server(std::in_place, directory_.path() / "leaving", "");
  auto engine = makeEngine(kLiveSine, "pulsesink " + server->address());
  stageRecording(sharedTake());
  engine->stopRecording();
  engine->play();
  ASSERT_TRUE(foundation::eventually([&] { return notifications_.starts() == 1; }));
  server.reset();
  EXPECT_TRUE(foundation::eventually([&] { return notifications_.failures() == 1; }));
  EXPECT_FALSE(engine->audioEngine().isRunning());
}

}  // namespace
}  // namespace audio::testing
