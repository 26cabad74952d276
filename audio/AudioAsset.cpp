#include "audio/AudioAsset.h"

#include "audio/MediaDiscoverer.h"

namespace audio {

double AudioAsset::duration() const {
  auto info = MediaDiscoverer::discover(url_);
  return info ? info->durationSeconds : 0.0;
}

}  // namespace audio
