#pragma once

#include <string>

#include "ChildProcess.h"

namespace e2e {

// The keyboard of an X display, pressed through XTest (xdotool) into whichever window has the
// focus: the X server repeats a held key as a real keyboard's would.
class Keyboard {
 public:
  explicit Keyboard(std::string display) : display_(std::move(display)) {}

  // Holds the key (an X key name: "space", "Return") down; returns the moment just before
  // xdotool was started to send it.
  Clock::time_point press(const std::string& key) const;
  Clock::time_point release(const std::string& key) const;

 private:
  std::string display_;
};

}  // namespace e2e
