#include "Pointer.h"

namespace e2e {

Pointer::Pointer(std::string display, std::string window)
    : display_(std::move(display)), window_(std::move(window)) {}

void Pointer::click(WindowPoint at) const {
  xdotool(
      {"mousemove", "--window", window_, std::to_string(at.x), std::to_string(at.y), "click", "1"});
}

void Pointer::press(WindowPoint at) const {
  xdotool({"mousemove", "--window", window_, std::to_string(at.x), std::to_string(at.y),
           "mousedown", "1"});
}

Clock::time_point Pointer::release() const {
  return xdotool({"mouseup", "1"});
}

Clock::time_point Pointer::xdotool(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), "xdotool");
  const auto started = Clock::now();
  runToEnd({std::move(arguments), {{"DISPLAY", display_}}});
  return started;
}

}  // namespace e2e
