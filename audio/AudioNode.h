#pragma once

#include <gst/gst.h>

#include "audio/AudioFormat.h"
#include "audio/GStreamer.h"

namespace audio {

// A node of the playback graph: a GStreamer element or bin with a "sink" pad, a "src" pad, or
// both. The engine adds it to its pipeline when attached and links it when connected.
class AudioNode {
 public:
  virtual ~AudioNode() = default;
  AudioNode(const AudioNode&) = delete;
  AudioNode& operator=(const AudioNode&) = delete;

  GstElement* element() const { return element_.get(); }
  // The format the node produces on its output bus; nodes that pass audio through produce what
  // they were connected with.
  virtual AudioFormat outputFormat(int /*bus*/) const { return inputFormat_; }
  void setInputFormat(const AudioFormat& format) { inputFormat_ = format; }

 protected:
  // Takes ownership of a new (floating) element.
  explicit AudioNode(GstElement* element) : element_(GST_ELEMENT(gst_object_ref_sink(element))) {}

 private:
  GstPtr<GstElement> element_;
  AudioFormat inputFormat_;
};

}  // namespace audio
