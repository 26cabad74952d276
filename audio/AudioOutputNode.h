#pragma once

#include <string>

#include "audio/AudioNode.h"

namespace audio {

// Where the graph's sound leaves: a GStreamer sink, converted to whatever the device takes.
class AudioOutputNode : public AudioNode {
 public:
  // `sinkDescription` is a launch line, e.g. "pulsesink" for the user's default output.
  explicit AudioOutputNode(const std::string& sinkDescription);

 private:
  static GstElement* makeSink(const std::string& sinkDescription);
};

}  // namespace audio
