#include "TimePitchRun.h"

#include <cmath>
#include <cstring>
#include <numbers>
#include <stdexcept>

#include "audio/AudioFormat.h"

namespace audio::testing {
namespace {

constexpr int kGraphRate = 44100;
constexpr std::size_t kFramesPerBuffer = 4096;
constexpr double kHighestPartial = 16000;

GstElement* capsFilter(const std::string& caps) {
  GstElement* filter = makeElement("capsfilter");
  GstCaps* parsed = gst_caps_from_string(caps.c_str());
  g_object_set(filter, "caps", parsed, nullptr);
  gst_caps_unref(parsed);
  return filter;
}

// Fed from appsrc's own streaming thread, when it asks for data: the buffers are made on the
// thread that reads them, since appsrc's queue hands them over with GLib locks that
// ThreadSanitizer cannot see.
struct Feed {
  const Signal& input;
  std::size_t at = 0;
};

void feed(GstElement* source, guint, gpointer data) {
  auto& fed = *static_cast<Feed*>(data);
  GstFlowReturn flow;
  if (fed.at >= fed.input.samples.size()) {
    g_signal_emit_by_name(source, "end-of-stream", &flow);
    return;
  }
  const std::size_t frames = std::min(kFramesPerBuffer, fed.input.samples.size() - fed.at);
  GstBuffer* buffer = gst_buffer_new_memdup(&fed.input.samples[fed.at], frames * sizeof(float));
  GST_BUFFER_PTS(buffer) = gst_util_uint64_scale(fed.at, GST_SECOND, fed.input.sampleRate);
  GST_BUFFER_DURATION(buffer) = gst_util_uint64_scale(frames, GST_SECOND, fed.input.sampleRate);
  g_signal_emit_by_name(source, "push-buffer", buffer, &flow);
  gst_buffer_unref(buffer);
  fed.at += frames;
}

Signal pullAll(GstElement* sink) {
  Signal output{{}, kGraphRate};
  for (;;) {
    GstSample* sample = nullptr;
    g_signal_emit_by_name(sink, "pull-sample", &sample);
    if (!sample)
      return output;
    GstMapInfo map;
    GstBuffer* buffer = gst_sample_get_buffer(sample);
    if (gst_buffer_map(buffer, &map, GST_MAP_READ)) {
      const auto* samples = reinterpret_cast<const float*>(map.data);
      output.samples.insert(output.samples.end(), samples, samples + map.size / sizeof(float));
      gst_buffer_unmap(buffer, &map);
    }
    gst_sample_unref(sample);
  }
}

}  // namespace

Signal sawtooth(double hertz, double seconds) {
  Signal signal{std::vector<float>(std::size_t(seconds * kGraphRate)), kGraphRate};
  for (int harmonic = 1; harmonic * hertz < kHighestPartial; ++harmonic) {
    const double sign = harmonic % 2 ? 1 : -1;
    const double step = 2 * std::numbers::pi * harmonic * hertz / kGraphRate;
    for (std::size_t i = 0; i < signal.samples.size(); ++i)
      signal.samples[i] += float(sign * std::sin(step * double(i)) / (harmonic * std::numbers::pi));
  }
  return signal;
}

Signal shifted(const Signal& input, TimePitchEngine engine, float cents, bool preserveFormants) {
  AudioUnitTimePitch unit(engine);
  unit.setPitch(cents);
  if (preserveFormants)
    g_object_set(unit.element(), "preserve-formants", TRUE, nullptr);
  GstElement* pipeline = gst_pipeline_new(nullptr);
  GstElement* source = makeElement("appsrc");
  GstElement* sink = makeElement("appsink");
  GstCaps* caps = gst_caps_from_string(AudioFormat{input.sampleRate, 1}.caps().c_str());
  g_object_set(source, "caps", caps, "format", GST_FORMAT_TIME, nullptr);
  gst_caps_unref(caps);
  g_object_set(sink, "sync", FALSE, nullptr);
  GstElement* resample = makeElement("audioresample");
  GstElement* graphFormat = capsFilter(AudioFormat{kGraphRate, 1}.caps());
  gst_bin_add_many(GST_BIN(pipeline), source, resample, graphFormat, unit.element(), sink, nullptr);
  if (!gst_element_link_many(source, resample, graphFormat, unit.element(), sink, nullptr))
    throw std::runtime_error("the time-pitch unit would not link");
  Feed fed{input};
  g_signal_connect(source, "need-data", G_CALLBACK(feed), &fed);
  gst_element_set_state(pipeline, GST_STATE_PLAYING);
  Signal output = pullAll(sink);
  gst_element_set_state(pipeline, GST_STATE_NULL);
  gst_bin_remove(GST_BIN(pipeline), unit.element());
  gst_object_unref(pipeline);
  return output;
}

}  // namespace audio::testing
