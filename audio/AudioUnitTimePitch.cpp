#include "audio/AudioUnitTimePitch.h"

#include <cmath>

#include "audio/RubberBandPitch.h"
#include "foundation/Console.h"

namespace audio {
namespace {

double ratioOf(float cents) {
  return std::exp2(cents / 1200.0);
}

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

void AudioUnitTimePitch::prepare(TimePitchEngine engine, float cents) {
#if ORVANE_HAVE_RUBBERBAND
  // As a float, as the element's property holds it: the work is kept per exact ratio.
  if (engine == TimePitchEngine::RubberBand)
    prepareRubberBandPitch(AudioFormat{}.sampleRate, float(ratioOf(cents)));
#else
  (void)engine, (void)cents;  // SoundTouch has nothing to prepare
#endif
}

AudioUnitTimePitch::AudioUnitTimePitch(TimePitchEngine engine)
    : AudioNode(makeElement(factoryOf(engine))) {}

void AudioUnitTimePitch::setPitch(float cents) {
  g_object_set(element(), "pitch", static_cast<float>(ratioOf(cents)), nullptr);
}

}  // namespace audio
