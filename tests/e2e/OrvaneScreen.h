#pragma once

#include <QRect>

#include "Pointer.h"

// Where Orvane's main screen has its controls, read off a screenshot of its window at its
// default size. The one place to change when the layout moves.
namespace e2e::screen {

inline constexpr int kWidth = 420;
inline constexpr int kHeight = 760;

inline constexpr WindowPoint kEffectButton{132, 332};  // "Voice": normal, monster, chipmunk
inline constexpr WindowPoint kToneButton{211, 332};    // the start chime, on or off
inline constexpr WindowPoint kTalkButton{210, 556};    // the round button's centre
inline constexpr WindowPoint kVolumeSlider{300, 261};  // on the track, left of a full volume's knob
inline constexpr WindowPoint kBackground{30, 450};     // the screen itself, clear of every control
// The Talk button's title: grey while Talk is disabled, white once Orvane can record.
inline constexpr QRect kTalkTitle{172, 540, 76, 35};
// Inside the Talk button, clear of its title: white while the button is held.
inline constexpr WindowPoint kTalkButtonFace{210, 490};

}  // namespace e2e::screen
