#include "Speech.h"

#include <glib.h>

#include <stdexcept>

#include "TemporaryDirectory.h"

namespace audio::testing {

Signal speak(const std::string& words) {
  foundation::TemporaryDirectory directory;
  const auto file = (directory.path() / "speech.wav").string();
  const char* command[] = {"espeak-ng", "-w", file.c_str(), words.c_str(), nullptr};
  gint status = 0;
  g_spawn_sync(nullptr, const_cast<gchar**>(command), nullptr, G_SPAWN_SEARCH_PATH, nullptr,
               nullptr, nullptr, nullptr, &status, nullptr);
  auto speech = readCompleteWav(file);
  if (!speech)
    throw std::runtime_error("espeak-ng wrote no usable speech for \"" + words + '"');
  return *speech;
}

}  // namespace audio::testing
