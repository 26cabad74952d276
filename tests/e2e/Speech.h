#pragma once

#include <string>

#include "SignalAnalysis.h"

namespace e2e {

// `words` spoken by espeak-ng, as a microphone would hear them.
audio::testing::Signal speak(const std::string& words);

}  // namespace e2e
