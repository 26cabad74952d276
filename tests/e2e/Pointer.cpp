#include "Pointer.h"

#include "Xdotool.h"

namespace e2e {

Pointer::Pointer(std::string display, std::string window)
    : display_(std::move(display)), window_(std::move(window)) {}

void Pointer::click(WindowPoint at) const {
  xdotool(display_, {"mousemove", "--window", window_, std::to_string(at.x), std::to_string(at.y),
                     "click", "1"});
}

void Pointer::press(WindowPoint at) const {
  xdotool(display_, {"mousemove", "--window", window_, std::to_string(at.x), std::to_string(at.y),
                     "mousedown", "1"});
}

Clock::time_point Pointer::release() const {
  return xdotool(display_, {"mouseup", "1"});
}

}  // namespace e2e
