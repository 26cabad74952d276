#include "audio/AudioEngine.h"

#include <algorithm>

#include "audio/AudioOutputNode.h"
#include "audio/PipelineBus.h"
#include "platform/AudioSession.h"

namespace audio {
namespace {

GstPad* pad(AudioNode& node, const char* name) {
  return gst_element_get_static_pad(node.element(), name);
}

}  // namespace

AudioEngine::AudioEngine(const std::string& sinkDescription, platform::AudioSession& session,
                         FailureHandler onFailure)
    : session_(session), onFailure_(std::move(onFailure)) {
  // What the player node is made of, found missing now rather than at the first release; the
  // time-pitch unit checks its own.
  requireElements({"concat", "capsfilter", "filesrc", "decodebin", "qtdemux", "avdec_aac",
                   "audioconvert", "audioresample"});
  pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new("player"))));
  bus_ = std::make_unique<PipelineBus>(pipeline_.get(), "Playback", PipelineBus::LevelHandler{},
                                       [this](const std::string& reason) { failed(reason); });
  output_ = std::make_unique<AudioOutputNode>(sinkDescription);
  gst_bin_add(GST_BIN(pipeline_.get()), output_->element());
}

AudioEngine::~AudioEngine() {
  stop();
}

void AudioEngine::attach(std::shared_ptr<AudioNode> node) {
  std::lock_guard lock(mutex_);
  gst_bin_add(GST_BIN(pipeline_.get()), node->element());
  nodes_.push_back(std::move(node));
}

void AudioEngine::connect(AudioNode& from, AudioNode& to, const AudioFormat& format) {
  std::lock_guard lock(mutex_);
  auto replaced = std::partition(links_.begin(), links_.end(), [&](const Link& link) {
    return link.from != &from && link.to != &to;
  });
  std::for_each(replaced, links_.end(), [this](const Link& link) { disconnect(link); });
  links_.erase(replaced, links_.end());

  GstElement* filter = makeElement("capsfilter");
  GstCaps* caps = gst_caps_from_string(format.caps().c_str());
  g_object_set(filter, "caps", caps, nullptr);
  gst_caps_unref(caps);
  gst_bin_add(GST_BIN(pipeline_.get()), filter);
  GstPad* output = pad(from, "src");
  GstPad* filterInput = gst_element_get_static_pad(filter, "sink");
  GstPad* filterOutput = gst_element_get_static_pad(filter, "src");
  GstPad* input = pad(to, "sink");
  gst_pad_link(output, filterInput);
  gst_pad_link(filterOutput, input);
  for (GstPad* each : {output, filterInput, filterOutput, input})
    gst_object_unref(each);
  gst_element_sync_state_with_parent(filter);
  to.setInputFormat(format);
  links_.push_back({&from, &to, filter});
}

void AudioEngine::disconnect(const Link& link) {
  gst_element_set_state(link.filter, GST_STATE_NULL);
  gst_bin_remove(GST_BIN(pipeline_.get()), link.filter);
}

AudioNode& AudioEngine::outputNode() {
  return *output_;
}

bool AudioEngine::start(std::string& error) {
  std::lock_guard lock(mutex_);
  if (isRunning())
    return true;
  applyStreamProperties(pipeline_.get(), session_.mediaRole());
  bus_->rearm();
  bus_->setLoggingErrors(false);
  bool started =
      gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING) != GST_STATE_CHANGE_FAILURE;
  bus_->setLoggingErrors(true);
  if (!started) {
    error = bus_->lastError().value_or("the audio output could not be opened");
    gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
    return false;
  }
  running_.store(true, std::memory_order_release);
  return true;
}

void AudioEngine::stop() {
  std::lock_guard lock(mutex_);
  stopLocked();
}

void AudioEngine::stopLocked() {
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  running_.store(false, std::memory_order_release);
}

void AudioEngine::reset() {
  std::lock_guard lock(mutex_);
  stopLocked();
  for (const Link& link : links_)
    disconnect(link);
  links_.clear();
  for (const auto& node : nodes_)
    gst_bin_remove(GST_BIN(pipeline_.get()), node->element());
  nodes_.clear();
}

bool AudioEngine::hasFinishedPlaying() const {
  return bus_->hasEnded();
}

bool AudioEngine::hasFailedWhileRunning() const {
  return isRunning() && bus_->lastError();
}

// Errors while start() is under way are start()'s to report; running_ is set only after it.
void AudioEngine::failed(const std::string& reason) const {
  if (isRunning() && onFailure_)
    onFailure_(reason);
}

}  // namespace audio
