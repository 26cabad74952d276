#include "Speech.h"

#include <stdexcept>

#include "ChildProcess.h"
#include "TemporaryDirectory.h"

namespace e2e {

audio::testing::Signal speak(const std::string& words) {
  foundation::TemporaryDirectory directory;
  const auto file = directory.path() / "speech.wav";
  runToEnd({{"espeak-ng", "-w", file.string(), words}, {}});
  auto speech = audio::testing::readCompleteWav(file);
  if (!speech)
    throw std::runtime_error("espeak-ng wrote no usable speech for \"" + words + '"');
  return *speech;
}

}  // namespace e2e
