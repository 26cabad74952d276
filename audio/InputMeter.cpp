#include "audio/InputMeter.h"

#include <algorithm>
#include <stdexcept>

#include "audio/PipelineBus.h"

namespace audio {
namespace {

constexpr float kSilence = -160.0f;
// A resting waveform needs no more than this; the recorder's own meter is finer.
constexpr guint64 kIntervalNanoseconds = 50'000'000;
// Sound-server sources wake us once a chunk: 50 ms chunks rather than the recorder's 5 ms.
constexpr gint64 kChunkMicroseconds = 50'000;

}  // namespace

InputMeter::InputMeter(const std::string& sourceDescription) : power_(kSilence) {
  std::string error;
  GstElement* graph = makeBinFromDescription(
      sourceDescription + " ! level interval=" + std::to_string(kIntervalNanoseconds) +
          " ! fakesink sync=false async=false",
      error);
  if (!graph)
    throw std::invalid_argument("Bad capture source \"" + sourceDescription + "\": " + error);
  pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("input-meter"))));
  gst_bin_add(GST_BIN(pipeline_.get()), graph);
  forEachElementWith(pipeline_.get(), "latency-time", [](GstElement* source) {
    g_object_set(source, "latency-time", kChunkMicroseconds, "buffer-time", 4 * kChunkMicroseconds,
                 nullptr);
  });
  bus_ = std::make_unique<PipelineBus>(
      pipeline_.get(), "Input meter",
      [this](double decibels) {
        power_.store(std::clamp(static_cast<float>(decibels), kSilence, 0.0f));
      },
      [this](const std::string&) { power_.store(kSilence); });
}

InputMeter::~InputMeter() {
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
}

void InputMeter::start(const std::string& device) {
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  power_.store(kSilence);
  applyCaptureDevice(pipeline_.get(), device);
  bus_->rearm();
  gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
}

}  // namespace audio
