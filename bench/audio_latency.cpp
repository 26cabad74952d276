// Latency figures of the announcement engine on the user's sound server (scripts/bench
// runs it against a private one): how soon a press starts capturing and how soon a release is
// heard. The pitch shifter's cost is bench/time_pitch's.
#include <gst/gst.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "audio/OrvaneEngine.h"
#include "tests/foundation/TemporaryDirectory.h"

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

// Notes when the first buffer passes a pad after being armed.
class FirstBufferProbe {
 public:
  explicit FirstBufferProbe(GstPad* pad) : pad_(pad) {
    probe_ = gst_pad_add_probe(pad_, GST_PAD_PROBE_TYPE_BUFFER, &FirstBufferProbe::onBuffer, this,
                               nullptr);
  }
  ~FirstBufferProbe() {
    gst_pad_remove_probe(pad_, probe_);
    gst_object_unref(pad_);
  }
  void arm() {
    std::lock_guard lock(mutex_);
    seen_.reset();
    armed_ = true;
  }
  std::optional<Clock::time_point> wait(std::chrono::seconds limit) {
    std::unique_lock lock(mutex_);
    arrived_.wait_for(lock, limit, [this] { return seen_.has_value(); });
    armed_ = false;
    return seen_;
  }

 private:
  static GstPadProbeReturn onBuffer(GstPad*, GstPadProbeInfo*, gpointer self) {
    auto* probe = static_cast<FirstBufferProbe*>(self);
    std::lock_guard lock(probe->mutex_);
    if (probe->armed_ && !probe->seen_) {
      probe->seen_ = Clock::now();
      probe->arrived_.notify_all();
    }
    return GST_PAD_PROBE_OK;
  }

  GstPad* pad_;
  gulong probe_;
  std::mutex mutex_;
  std::condition_variable arrived_;
  bool armed_ = false;
  std::optional<Clock::time_point> seen_;
};

void printFigure(const char* name, std::vector<double> milliseconds) {
  if (milliseconds.empty()) {
    std::printf("%-44s no buffer arrived\n", name);
    return;
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  auto at = [&](double quantile) {
    return milliseconds[std::size_t(quantile * (milliseconds.size() - 1) + 0.5)];
  };
  std::printf("%-44s median %6.1f ms  p90 %6.1f ms  min %6.1f ms  (n=%zu)\n", name, at(0.5),
              at(0.9), milliseconds.front(), milliseconds.size());
}

audio::OrvaneEngineConfiguration configurationIn(const std::filesystem::path& directory,
                                                 const std::string& source) {
  auto configuration = audio::OrvaneEngineConfiguration::defaults();
  configuration.documentsDirectory = directory;
  configuration.sourceDescription = source;
  return configuration;
}

GstPad* encoderInput(audio::OrvaneEngine& engine) {
  GstElement* encoder = gst_bin_get_by_name(GST_BIN(engine.recorder().pipeline()), "encoder");
  GstPad* pad = gst_element_get_static_pad(encoder, "sink");
  gst_object_unref(encoder);
  return pad;
}

void pressToCapture(const char* name, const std::string& source, int presses) {
  foundation::TemporaryDirectory directory;
  audio::OrvaneEngine engine(configurationIn(directory.path(), source));
  FirstBufferProbe probe(encoderInput(engine));
  std::vector<double> latencies;
  for (int press = 0; press < presses; ++press) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    probe.arm();
    auto pressed = Clock::now();
    engine.startRecording();
    if (auto first = probe.wait(std::chrono::seconds(2))) {
      latencies.push_back(Milliseconds(*first - pressed).count());
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    engine.stopRecording();
  }
  printFigure(name, latencies);
}

void releaseToSound(const char* name, const std::string& source, int releases) {
  foundation::TemporaryDirectory directory;
  audio::OrvaneEngine engine(configurationIn(directory.path(), source));
  FirstBufferProbe probe(
      gst_element_get_static_pad(engine.audioEngine().outputNode().element(), "sink"));
  std::vector<double> latencies;
  for (int release = 0; release < releases; ++release) {
    engine.startRecording();
    std::this_thread::sleep_for(std::chrono::seconds(5));
    probe.arm();
    auto released = Clock::now();
    engine.stopRecording();
    engine.play();
    if (auto first = probe.wait(std::chrono::seconds(5))) {
      latencies.push_back(Milliseconds(*first - released).count());
    }
  }
  printFigure(name, latencies);
}

}  // namespace

int main() {
  audio::ensureGStreamer();
  const std::string serverInput = audio::OrvaneEngineConfiguration{}.sourceDescription;
  // A voice-like level: a silent take encodes to too few bytes to be kept.
  const std::string liveVoice = "audiotestsrc is-live=true wave=sine freq=220 volume=0.3";
  pressToCapture("press-to-capture, sound server input", serverInput, 25);
  pressToCapture("press-to-capture, live test source", liveVoice, 25);
  releaseToSound("release-to-sound, 5 s take, sound server output", liveVoice, 8);
}
