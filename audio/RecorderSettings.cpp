#include "audio/RecorderSettings.h"

#include <cmath>
#include <stdexcept>

namespace audio {

std::string RecorderSettings::rawCaps() const {
  std::string format = linearPCMIsFloat ? "F" : "S";
  format += std::to_string(linearPCMBitDepth);
  if (linearPCMBitDepth > 8)
    format += linearPCMIsBigEndian ? "BE" : "LE";
  return "audio/x-raw,format=" + format + ",rate=" + std::to_string(std::lround(sampleRate)) +
         ",channels=" + std::to_string(numberOfChannels);
}

std::string RecorderSettings::encoderDescription() const {
  if (formatID != kFormatMPEG4AAC) {
    throw std::invalid_argument("Unsupported recording format " + std::to_string(formatID));
  }
  return "avenc_aac name=encoder ! mp4mux";
}

}  // namespace audio
