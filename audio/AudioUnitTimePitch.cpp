#include "audio/AudioUnitTimePitch.h"

#include <cmath>

#include "audio/RubberBandPitch.h"
#include "foundation/Console.h"

namespace audio {
namespace {

const char* factoryOf(TimePitchEngine engine) {
  return engine == TimePitchEngine::RubberBand ? kRubberBandPitchFactory : "pitch";
}

bool isRegistered(const char* factory) {
  ensureGStreamer();
  GstElementFactory* found = gst_element_factory_find(factory);
  if (found)
    gst_object_unref(found);
  return found != nullptr;
}

}  // namespace

TimePitchEngine AudioUnitTimePitch::chooseEngine() {
  if (isRegistered(kRubberBandPitchFactory)) {
    foundation::Console::line("Time-pitch unit: Rubber Band R3");
    return TimePitchEngine::RubberBand;
  }
  requireElements({"pitch"});
  foundation::Console::line("Time-pitch unit: SoundTouch, as Rubber Band is not available");
  return TimePitchEngine::SoundTouch;
}

AudioUnitTimePitch::AudioUnitTimePitch(TimePitchEngine engine)
    : AudioNode(makeElement(factoryOf(engine))) {}

void AudioUnitTimePitch::setPitch(float cents) {
  g_object_set(element(), "pitch", static_cast<float>(std::exp2(cents / 1200.0)), nullptr);
}

}  // namespace audio
