#include "audio/AudioPlayerNode.h"

#include <stdexcept>

#include "audio/ContinuousTimeline.h"
#include "audio/EncoderDelayTrim.h"

namespace audio {
namespace {

// The player's output: what a take is recorded as, in the float samples the pitch unit needs.
const AudioFormat kPlayerFormat{44100, 1};

GstPadProbeReturn holdBack(GstPad*, GstPadProbeInfo*, gpointer) {
  return GST_PAD_PROBE_OK;
}

}  // namespace

AudioPlayerNode::AudioPlayerNode()
    : AudioNode(gst_bin_new(nullptr)), concat_(makeElement("concat")) {
  gst_bin_add(GST_BIN(element()), concat_);
  GstPad* concatOutput = gst_element_get_static_pad(concat_, "src");
  output_ = gst_ghost_pad_new("src", concatOutput);
  gst_object_unref(concatOutput);
  gst_element_add_pad(element(), output_);
  ContinuousTimeline::install(output_);
  blockProbe_ =
      gst_pad_add_probe(output_, GST_PAD_PROBE_TYPE_BLOCK_DOWNSTREAM, holdBack, nullptr, nullptr);
}

AudioFormat AudioPlayerNode::outputFormat(int) const {
  return kPlayerFormat;
}

void AudioPlayerNode::scheduleFile(const std::shared_ptr<AudioFile>& file) {
  GstElement* branch = makeBranch(*file);
  gst_bin_add(GST_BIN(element()), branch);
  GstPad* branchOutput = gst_element_get_static_pad(branch, "src");
  GstPad* concatInput = gst_element_request_pad_simple(concat_, "sink_%u");
  gst_pad_link(branchOutput, concatInput);
  gst_object_unref(branchOutput);
  gst_object_unref(concatInput);
  gst_element_sync_state_with_parent(branch);
}

void AudioPlayerNode::play() {
  if (blockProbe_ == 0)
    return;
  gst_pad_remove_probe(output_, blockProbe_);
  blockProbe_ = 0;
}

GstElement* AudioPlayerNode::makeBranch(const AudioFile& file) const {
  std::string error;
  GstElement* branch = makeBinFromDescription(
      "filesrc name=file ! decodebin ! audioconvert ! audioresample ! capsfilter name=format "
      "caps=" +
          kPlayerFormat.caps(),
      error);
  if (!branch)
    throw std::runtime_error("Cannot build a player branch: " + error);
  // The converter waits for the decoder's pad, which appears only once the file is read; the
  // parser took its free input for the bin's and must give it back.
  if (GstPad* borrowed = gst_element_get_static_pad(branch, "sink")) {
    gst_element_remove_pad(branch, borrowed);
    gst_object_unref(borrowed);
  }
  GstElement* source = gst_bin_get_by_name(GST_BIN(branch), "file");
  g_object_set(source, "location", file.url().c_str(), nullptr);
  gst_object_unref(source);

  const MediaInfo& info = file.info();
  if (info.encoderDelayFrames > 0 && info.sampleRate > 0) {
    GstElement* format = gst_bin_get_by_name(GST_BIN(branch), "format");
    GstPad* decoded = gst_element_get_static_pad(format, "src");
    auto frames =
        gst_util_uint64_scale(info.encoderDelayFrames, kPlayerFormat.sampleRate, info.sampleRate);
    EncoderDelayTrim::install(decoded, frames, sizeof(float) * kPlayerFormat.channels,
                              kPlayerFormat.sampleRate);
    gst_object_unref(decoded);
    gst_object_unref(format);
  }
  return branch;
}

}  // namespace audio
