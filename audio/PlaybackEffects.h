#pragma once

#include <cstdint>
#include <optional>

namespace audio {

// The voice effect of the next announcement, cycled by the effect button in this order.
enum class PlaybackEffects : std::uint8_t { NormalVoice = 0, MonsterVoice = 1, ChipmunkVoice = 2 };

// The shift for an effect, in cents. Only the low two bits of the stored value count; a value
// that matches no effect leaves the pitch as it was.
inline std::optional<float> pitchForEffect(PlaybackEffects effect) {
  switch (static_cast<std::uint8_t>(effect) & 0x3) {
    case 0:
      return 1.0f;  // one cent rather than none, deliberately: audibly unchanged
    case 1:
      return -600.0f;  // half an octave down
    case 2:
      return 1200.0f;  // an octave up
    default:
      return std::nullopt;
  }
}

}  // namespace audio
