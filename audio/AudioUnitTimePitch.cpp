#include "audio/AudioUnitTimePitch.h"

#include <cmath>

namespace audio {

AudioUnitTimePitch::AudioUnitTimePitch() : AudioNode(makeElement("pitch")) {}

void AudioUnitTimePitch::setPitch(float cents) {
  g_object_set(element(), "pitch", static_cast<float>(std::exp2(cents / 1200.0)), nullptr);
}

}  // namespace audio
