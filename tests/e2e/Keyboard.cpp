#include "Keyboard.h"

#include "Xdotool.h"

namespace e2e {

Clock::time_point Keyboard::press(const std::string& key) const {
  return xdotool(display_, {"keydown", key});
}

Clock::time_point Keyboard::release(const std::string& key) const {
  return xdotool(display_, {"keyup", key});
}

}  // namespace e2e
