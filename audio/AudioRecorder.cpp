#include "audio/AudioRecorder.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "audio/PipelineBus.h"
#include "foundation/Console.h"
#include "platform/AudioSession.h"

namespace audio {
namespace {

constexpr float kSilence = -160.0f;
// The muxer writes its index only when the end of the stream reaches it; a healthy take
// finishes in a few milliseconds, a stuck device must not hold the caller for long.
constexpr auto kFinishLimit = std::chrono::seconds(3);
// Fast enough for a waveform drawn at 60 frames a second.
constexpr guint64 kMeterIntervalNanoseconds = 25'000'000;

}  // namespace

AudioRecorder::AudioRecorder(std::filesystem::path url, RecorderSettings settings,
                             std::string sourceDescription, platform::AudioSession& session)
    : url_(std::move(url)),
      settings_(std::move(settings)),
      session_(session),
      latestPower_(kSilence),
      meteredPower_(kSilence),
      meter_(sourceDescription),
      queue_("Recorder", foundation::QualityOfService::UserInitiated) {
  build(sourceDescription);
}

AudioRecorder::~AudioRecorder() {
  queue_.sync([this] { gst_element_set_state(pipeline_.get(), GST_STATE_NULL); });
}

void AudioRecorder::build(const std::string& sourceDescription) {
  requireElements({"audioconvert", "audioresample", "level", "avenc_aac", "mp4mux", "filesink"});
  std::string error;
  GstElement* source = makeBinFromDescription(sourceDescription, error);
  if (!source)
    throw std::invalid_argument("Bad capture source \"" + sourceDescription + "\": " + error);
  std::string encoding =
      "audioconvert ! audioresample ! " + settings_.rawCaps() +
      " ! level name=meter interval=" + std::to_string(kMeterIntervalNanoseconds) +
      " ! audioconvert ! " + settings_.encoderDescription() + " ! filesink name=file";
  GstElement* encoder = makeBinFromDescription(encoding, error);
  if (!encoder)
    throw std::runtime_error("Cannot build the recording graph: " + error);

  watchForStreaming(encoder);
  takeInput_.reset(gst_element_get_static_pad(encoder, "sink"));
  file_.reset(gst_bin_get_by_name(GST_BIN(encoder), "file"));
  g_object_set(file_.get(), "location", url_.c_str(), nullptr);
  // A file sink creates its file as soon as it is ready; held back, it leaves the last take
  // alone until the next one really starts.
  gst_element_set_locked_state(file_.get(), TRUE);

  pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("recorder"))));
  gst_bin_add_many(GST_BIN(pipeline_.get()), source, encoder, nullptr);
  gst_element_link(source, encoder);
  applyCaptureDevice(pipeline_.get(), settings_.device);
  connectedDevice_ = settings_.device;
  bus_ = std::make_unique<PipelineBus>(pipeline_.get(), "Recording",
                                       [this](double decibels) { storeLevel(decibels); });
}

// The source's segment opens the stream. A take stopped before it (a tap shorter than the
// source's first chunk) has nothing to finish, and an end-of-stream sent then would reach the
// meter and the muxer ahead of any segment, which they cannot place in time.
void AudioRecorder::watchForStreaming(GstElement* encoder) {
  GstElement* meter = gst_bin_get_by_name(GST_BIN(encoder), "meter");
  GstPad* input = gst_element_get_static_pad(meter, "sink");
  gst_pad_add_probe(
      input, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
      [](GstPad*, GstPadProbeInfo* info, gpointer self) {
        if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_SEGMENT)
          static_cast<AudioRecorder*>(self)->streaming_.store(true, std::memory_order_release);
        return GST_PAD_PROBE_OK;
      },
      this, nullptr);
  gst_object_unref(input);
  gst_object_unref(meter);
}

void AudioRecorder::prepareToRecord() {
  queue_.async([this] {
    prepareOnQueue();
    meter_.start(settings_.device);
  });
}

void AudioRecorder::setDevice(std::string device) {
  queue_.async([this, device = std::move(device)] {
    settings_.device = device;
    if (!isRecording())
      connectDevice();
  });
}

// A source is chosen when its element leaves the null state, so both graphs connect anew.
void AudioRecorder::connectDevice() {
  if (connectedDevice_ == settings_.device)
    return;
  connectedDevice_ = settings_.device;
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  applyCaptureDevice(pipeline_.get(), settings_.device);
  prepareOnQueue();
  meter_.start(settings_.device);
}

bool AudioRecorder::record() {
  return queue_.sync([this] { return recordOnQueue(); });
}

void AudioRecorder::stop() {
  queue_.sync([this] { stopOnQueue(); });
}

bool AudioRecorder::prepareOnQueue() {
  GstState state = GST_STATE_NULL;
  gst_element_get_state(pipeline_.get(), &state, nullptr, 0);
  if (state >= GST_STATE_READY)
    return true;
  if (gst_element_set_state(pipeline_.get(), GST_STATE_READY) != GST_STATE_CHANGE_FAILURE) {
    return true;
  }
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  return false;
}

bool AudioRecorder::recordOnQueue() {
  if (isRecording())
    return true;
  if (!prepareOnQueue())
    return false;
  applyStreamProperties(pipeline_.get(), session_.mediaRole());
  latestPower_.store(kSilence);
  streaming_.store(false, std::memory_order_release);
  bus_->rearm();
  if (!openFile() ||
      gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE) {
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    closeFile();
    return false;
  }
  recording_.store(true, std::memory_order_release);
  return true;
}

bool AudioRecorder::openFile() {
  if (gst_element_set_state(file_.get(), GST_STATE_READY) == GST_STATE_CHANGE_FAILURE) {
    gst_element_set_state(file_.get(), GST_STATE_NULL);
    return false;
  }
  gst_element_set_locked_state(file_.get(), FALSE);
  return true;
}

void AudioRecorder::closeFile() {
  gst_element_set_locked_state(file_.get(), TRUE);
  gst_element_set_state(file_.get(), GST_STATE_NULL);
}

void AudioRecorder::stopOnQueue() {
  if (!isRecording())
    return;
  if (streaming_.load(std::memory_order_acquire)) {
    // Straight into the encoding, not through the source: a live source notices an end only
    // when the sound server next hands it a chunk, which holds the take open by up to 25 ms.
    gst_pad_send_event(takeInput_.get(), gst_event_new_eos());
    if (bus_->waitForEndOfStream(kFinishLimit) == PipelineBus::Outcome::TimedOut)
      foundation::Console::line("Recording did not finish in time; the take may be incomplete");
  }
  // Back to ready, not null: the file is closed but the device connection stays for the next take.
  gst_element_set_state(pipeline_.get(), GST_STATE_READY);
  closeFile();
  recording_.store(false, std::memory_order_release);
  latestPower_.store(kSilence);
  connectDevice();  // a choice made during the take
}

void AudioRecorder::storeLevel(double decibels) {
  latestPower_.store(std::clamp(static_cast<float>(decibels), kSilence, 0.0f));
}

void AudioRecorder::updateMeters() {
  meteredPower_.store(isMeteringEnabled() ? latestPower_.load() : kSilence);
}

float AudioRecorder::averagePowerForChannel(int channel) const {
  return channel == 0 ? meteredPower_.load() : kSilence;
}

}  // namespace audio
