#include "audio/AudioOutputNode.h"

#include <stdexcept>

namespace audio {

AudioOutputNode::AudioOutputNode(const std::string& sinkDescription)
    : AudioNode(makeSink(sinkDescription)) {}

GstElement* AudioOutputNode::makeSink(const std::string& sinkDescription) {
  std::string error;
  GstElement* sink =
      makeBinFromDescription("audioconvert ! audioresample ! " + sinkDescription, error);
  if (!sink)
    throw std::invalid_argument("Bad audio output \"" + sinkDescription + "\": " + error);
  return sink;
}

}  // namespace audio
