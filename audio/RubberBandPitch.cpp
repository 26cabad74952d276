#include "audio/RubberBandPitch.h"

#include <gst/audio/gstaudiofilter.h>

#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "audio/PitchStretcher.h"

namespace audio {
namespace {

// Threads: the properties and the latency figure are guarded by the element's own mutex (a C++
// one rather than the object lock, so ThreadSanitizer sees it), from whichever thread sets them
// or answers a query; the stretcher and the pending output belong to the streaming thread,
// which takes a snapshot of the properties at every buffer.
struct Settings {
  double pitch = 1.0;
  bool preserveFormants = false;
  bool operator==(const Settings&) const = default;
};

struct StreamState {
  std::unique_ptr<PitchStretcher> stretcher;
  Settings applied;
  GstClockTime start = GST_CLOCK_TIME_NONE;  // the first input's time: output frame 0's
  guint64 framesOut = 0;
  std::vector<float> pending;  // aligned output not yet pushed
};

struct RubberBandPitch {
  GstAudioFilter parent;
  std::mutex mutex;
  Settings settings;     // mutex
  GstClockTime latency;  // mutex
  StreamState* stream;   // streaming thread
};

struct RubberBandPitchClass {
  GstAudioFilterClass parent;
};

enum Property { kPropertyPitch = 1, kPropertyPreserveFormants };

G_DEFINE_TYPE(RubberBandPitch, rubber_band_pitch, GST_TYPE_AUDIO_FILTER)

RubberBandPitch* self(gpointer object) {
  return reinterpret_cast<RubberBandPitch*>(object);
}

const GstAudioInfo* infoOf(RubberBandPitch* element) {
  return GST_AUDIO_FILTER_INFO(&element->parent);
}

// The stretcher is made afresh for each stream (new caps, a flush, a new segment), so what it
// held of the stream before is never played into the next.
void restartStream(RubberBandPitch* element) {
  delete element->stream;
  element->stream = new StreamState;
}

void applySettings(RubberBandPitch* element) {
  const Settings settings = [&] {
    std::lock_guard lock(element->mutex);
    return element->settings;
  }();
  if (!element->stream)  // stopped and started again on the same caps
    restartStream(element);
  StreamState& stream = *element->stream;
  if (stream.stretcher && stream.applied == settings)
    return;
  if (!stream.stretcher) {
    stream.stretcher = std::make_unique<PitchStretcher>(GST_AUDIO_INFO_RATE(infoOf(element)),
                                                        GST_AUDIO_INFO_CHANNELS(infoOf(element)));
  }
  stream.stretcher->setPitchScale(settings.pitch);
  stream.stretcher->setPreserveFormants(settings.preserveFormants);
  stream.applied = settings;
  const GstClockTime latency = gst_util_uint64_scale(stream.stretcher->latencyFrames(), GST_SECOND,
                                                     GST_AUDIO_INFO_RATE(infoOf(element)));
  bool changed;
  {
    std::lock_guard lock(element->mutex);
    changed = element->latency != latency;
    element->latency = latency;
  }
  if (changed)
    gst_element_post_message(GST_ELEMENT(element), gst_message_new_latency(GST_OBJECT(element)));
}

gboolean setup(GstAudioFilter* filter, const GstAudioInfo*) {
  restartStream(self(filter));
  return TRUE;
}

GstFlowReturn submitInput(GstBaseTransform* transform, gboolean, GstBuffer* input) {
  RubberBandPitch* element = self(transform);
  applySettings(element);
  StreamState& stream = *element->stream;
  if (!GST_CLOCK_TIME_IS_VALID(stream.start))
    stream.start = GST_BUFFER_PTS_IS_VALID(input) ? GST_BUFFER_PTS(input) : 0;
  GstMapInfo map;
  if (gst_buffer_map(input, &map, GST_MAP_READ)) {
    const gsize frames = map.size / GST_AUDIO_INFO_BPF(infoOf(element));
    stream.stretcher->process(reinterpret_cast<const float*>(map.data), frames, stream.pending);
    gst_buffer_unmap(input, &map);
  }
  gst_buffer_unref(input);
  return GST_FLOW_OK;
}

GstClockTime frameTime(const StreamState& stream, guint64 frame, int rate) {
  return stream.start + gst_util_uint64_scale(frame, GST_SECOND, rate);
}

GstFlowReturn generateOutput(GstBaseTransform* transform, GstBuffer** output) {
  RubberBandPitch* element = self(transform);
  StreamState& stream = *element->stream;
  *output = nullptr;
  if (stream.pending.empty())
    return GST_FLOW_OK;
  const int rate = GST_AUDIO_INFO_RATE(infoOf(element));
  const guint64 frames = stream.pending.size() / GST_AUDIO_INFO_CHANNELS(infoOf(element));
  GstBuffer* buffer =
      gst_buffer_new_memdup(stream.pending.data(), stream.pending.size() * sizeof(float));
  GST_BUFFER_PTS(buffer) = frameTime(stream, stream.framesOut, rate);
  GST_BUFFER_DURATION(buffer) =
      frameTime(stream, stream.framesOut + frames, rate) - GST_BUFFER_PTS(buffer);
  GST_BUFFER_OFFSET(buffer) = stream.framesOut;
  GST_BUFFER_OFFSET_END(buffer) = stream.framesOut + frames;
  stream.framesOut += frames;
  stream.pending.clear();
  *output = buffer;
  return GST_FLOW_OK;
}

// The held tail goes out ahead of the end of the stream.
void drain(GstBaseTransform* transform) {
  RubberBandPitch* element = self(transform);
  if (!element->stream || !element->stream->stretcher)
    return;
  element->stream->stretcher->finish(element->stream->pending);
  GstBuffer* tail = nullptr;
  generateOutput(transform, &tail);
  if (tail)
    gst_pad_push(GST_BASE_TRANSFORM_SRC_PAD(transform), tail);
}

gboolean sinkEvent(GstBaseTransform* transform, GstEvent* event) {
  switch (GST_EVENT_TYPE(event)) {
    case GST_EVENT_EOS:
      drain(transform);
      break;
    case GST_EVENT_FLUSH_STOP:
    case GST_EVENT_SEGMENT:
      restartStream(self(transform));
      break;
    default:
      break;
  }
  return GST_BASE_TRANSFORM_CLASS(rubber_band_pitch_parent_class)->sink_event(transform, event);
}

gboolean query(GstBaseTransform* transform, GstPadDirection direction, GstQuery* query) {
  const gboolean answered =
      GST_BASE_TRANSFORM_CLASS(rubber_band_pitch_parent_class)->query(transform, direction, query);
  if (!answered || direction != GST_PAD_SRC || GST_QUERY_TYPE(query) != GST_QUERY_LATENCY)
    return answered;
  gboolean live;
  GstClockTime minimum, maximum;
  gst_query_parse_latency(query, &live, &minimum, &maximum);
  GstClockTime ours;
  {
    std::lock_guard lock(self(transform)->mutex);
    ours = self(transform)->latency;
  }
  gst_query_set_latency(query, live, minimum + ours,
                        GST_CLOCK_TIME_IS_VALID(maximum) ? maximum + ours : maximum);
  return TRUE;
}

gboolean stop(GstBaseTransform* transform) {
  RubberBandPitch* element = self(transform);
  delete element->stream;
  element->stream = nullptr;
  return TRUE;
}

void setProperty(GObject* object, guint id, const GValue* value, GParamSpec* param) {
  RubberBandPitch* element = self(object);
  std::lock_guard lock(element->mutex);
  if (id == kPropertyPitch)
    element->settings.pitch = g_value_get_float(value);
  else if (id == kPropertyPreserveFormants)
    element->settings.preserveFormants = g_value_get_boolean(value);
  else
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
}

void getProperty(GObject* object, guint id, GValue* value, GParamSpec* param) {
  RubberBandPitch* element = self(object);
  std::lock_guard lock(element->mutex);
  if (id == kPropertyPitch)
    g_value_set_float(value, float(element->settings.pitch));
  else if (id == kPropertyPreserveFormants)
    g_value_set_boolean(value, element->settings.preserveFormants);
  else
    G_OBJECT_WARN_INVALID_PROPERTY_ID(object, id, param);
}

void finalize(GObject* object) {
  delete self(object)->stream;
  self(object)->mutex.~mutex();
  G_OBJECT_CLASS(rubber_band_pitch_parent_class)->finalize(object);
}

void rubber_band_pitch_init(RubberBandPitch* element) {
  new (&element->mutex) std::mutex;
  new (&element->settings) Settings;
  element->latency = 0;
  element->stream = nullptr;
}

void installProperties(GObjectClass* objectClass) {
  const auto flags = GParamFlags(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS);
  g_object_class_install_property(
      objectClass, kPropertyPitch,
      g_param_spec_float("pitch", "Pitch", "Frequency ratio of the shift", 0.1f, 10.0f, 1.0f,
                         flags));
  g_object_class_install_property(
      objectClass, kPropertyPreserveFormants,
      g_param_spec_boolean("preserve-formants", "Preserve formants",
                           "Keep the spectral envelope of the voice unshifted", FALSE, flags));
}

void rubber_band_pitch_class_init(RubberBandPitchClass* klass) {
  auto* objectClass = G_OBJECT_CLASS(klass);
  objectClass->set_property = setProperty;
  objectClass->get_property = getProperty;
  objectClass->finalize = finalize;
  installProperties(objectClass);

  auto* transformClass = GST_BASE_TRANSFORM_CLASS(klass);
  transformClass->submit_input_buffer = submitInput;
  transformClass->generate_output = generateOutput;
  transformClass->sink_event = sinkEvent;
  transformClass->query = query;
  transformClass->stop = stop;
  GST_AUDIO_FILTER_CLASS(klass)->setup = setup;

  GstCaps* caps = gst_caps_from_string(
      "audio/x-raw,format=F32LE,layout=interleaved,rate=[1,max],channels=[1,max]");
  gst_audio_filter_class_add_pad_templates(GST_AUDIO_FILTER_CLASS(klass), caps);
  gst_caps_unref(caps);
  gst_element_class_set_static_metadata(
      GST_ELEMENT_CLASS(klass), "Rubber Band pitch", "Filter/Effect/Audio",
      "Shifts the pitch without changing the tempo (R3 engine)", "Orvane");
}

}  // namespace

void registerRubberBandPitch() {
  gst_element_register(nullptr, kRubberBandPitchFactory, GST_RANK_NONE,
                       rubber_band_pitch_get_type());
}

void prepareRubberBandPitch(int sampleRate, double pitch) {
  PitchStretcher::prepare(sampleRate, pitch);
}

}  // namespace audio
