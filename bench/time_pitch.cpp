// The time-pitch unit's sound and cost, for each engine it can run on: harmonic-to-noise ratio of
// a 120 Hz band-limited sawtooth and of espeak-ng speech after the shift (SignalAnalysis.h says
// how each is measured), and the seconds of audio one core shifts per second of CPU.
#include <gst/gst.h>
#include <time.h>

#include <cmath>
#include <cstdio>
#include <optional>
#include <string>

#include "Speech.h"
#include "TimePitchRun.h"
#include "audio/AudioFormat.h"

namespace {

using audio::TimePitchEngine;
using namespace audio::testing;

constexpr double kSawtoothHertz = 120;
constexpr double kCostSeconds = 60;

const char* nameOf(TimePitchEngine engine) {
  return engine == TimePitchEngine::RubberBand ? "Rubber Band R3" : "SoundTouch";
}

void sawtoothQuality(TimePitchEngine engine, float cents) {
  // The first half second holds the shifter's start; the figure is about its steady state.
  const Signal out = shifted(sawtooth(kSawtoothHertz, 3.0), engine, cents).slice(0.5, 2.5);
  const auto content = harmonicContent(out, kSawtoothHertz * std::exp2(cents / 1200));
  std::printf("%-15s %+6.0f cents  sawtooth: f0 %7.2f Hz (expected %7.2f)  HNR %5.1f dB\n",
              nameOf(engine), cents, content.fundamental, kSawtoothHertz * std::exp2(cents / 1200),
              content.harmonicToNoiseDb);
}

void speechQuality(const Signal& speech, TimePitchEngine engine, float cents,
                   bool preserveFormants = false) {
  const Signal out = shifted(speech, engine, cents, preserveFormants);
  const auto before = medianPitch(speech), after = medianPitch(out);
  const auto hnr = voiceHarmonicToNoise(out);
  std::printf("%-15s %+6.0f cents  speech%s: pitch ratio %.4f (expected %.4f)  HNR %5.1f dB\n",
              nameOf(engine), cents, preserveFormants ? ", formants kept" : "",
              before && after ? *after / *before : 0.0, std::exp2(cents / 1200), hnr.value_or(-99));
}

double processCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return double(now.tv_sec) + double(now.tv_nsec) / 1e9;
}

// CPU seconds to push `seconds` of mono 44.1 kHz audio through a graph, with the unit shifting
// by `cents` or without one.
double graphCpuSeconds(double seconds, TimePitchEngine engine, std::optional<float> cents) {
  constexpr int kFramesPerBuffer = 1024;
  auto buffers = std::to_string(int(seconds * 44100 / kFramesPerBuffer));
  GstElement* pipeline = gst_parse_launch(
      ("audiotestsrc wave=saw freq=120 num-buffers=" + buffers + " samplesperbuffer=1024 ! " +
       audio::AudioFormat{}.caps() + " ! identity name=unit ! fakesink name=sink sync=false")
          .c_str(),
      nullptr);
  audio::AudioUnitTimePitch timePitch(engine);
  if (cents) {
    timePitch.setPitch(*cents);
    GstElement* source = gst_bin_get_by_name(GST_BIN(pipeline), "unit");
    GstElement* sink = gst_bin_get_by_name(GST_BIN(pipeline), "sink");
    gst_element_unlink(source, sink);
    gst_bin_add(GST_BIN(pipeline), timePitch.element());
    gst_element_link_many(source, timePitch.element(), sink, nullptr);
    gst_object_unref(source);
    gst_object_unref(sink);
  }
  double before = processCpuSeconds();
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  GstBus* bus = gst_element_get_bus(pipeline);
  gst_message_unref(gst_bus_timed_pop_filtered(
      bus, GST_CLOCK_TIME_NONE, GstMessageType(GST_MESSAGE_EOS | GST_MESSAGE_ERROR)));
  double spent = processCpuSeconds() - before;
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_object_unref(bus);
  gst_object_unref(pipeline);
  return spent;
}

void cost(TimePitchEngine engine) {
  const double baseline = graphCpuSeconds(kCostSeconds, engine, std::nullopt);
  for (float cents : {1.0f, -600.0f, 1200.0f}) {
    const double spent = graphCpuSeconds(kCostSeconds, engine, cents) - baseline;
    std::printf("%-15s %+6.0f cents  cost: %.0f s of audio in %.3f s of CPU  %6.0fx real time\n",
                nameOf(engine), cents, kCostSeconds, spent, kCostSeconds / spent);
  }
}

}  // namespace

int main() {
  audio::ensureGStreamer();
  const Signal speech = speak("Attention please. The store closes in ten minutes.");
  std::printf("espeak-ng speech as spoken: HNR %5.1f dB\n",
              voiceHarmonicToNoise(speech).value_or(-99));
  for (auto engine : {TimePitchEngine::SoundTouch, TimePitchEngine::RubberBand}) {
    for (float cents : {1.0f, -600.0f, 1200.0f})
      sawtoothQuality(engine, cents);
    for (float cents : {1.0f, -600.0f, 1200.0f})
      speechQuality(speech, engine, cents);
    cost(engine);
  }
  // The alternative for speech: the voice's formants left where they were.
  for (float cents : {-600.0f, 1200.0f})
    speechQuality(speech, TimePitchEngine::RubberBand, cents, true);
}
