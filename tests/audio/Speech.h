#pragma once

#include <string>

#include "SignalAnalysis.h"

namespace audio::testing {

// `words` spoken by espeak-ng, as a microphone would hear them.
Signal speak(const std::string& words);

}  // namespace audio::testing
