#pragma once

#include <string>

#include "ChildProcess.h"

namespace e2e {

// A point in a window, in pixels from its top left corner.
struct WindowPoint {
  int x;
  int y;
};

// The mouse over one window of an X display, moved and pressed through XTest (xdotool), as a
// person's hand would: the program sees real pointer events.
class Pointer {
 public:
  Pointer(std::string display, std::string window);

  void click(WindowPoint at) const;
  // Moves there and holds the button down.
  void press(WindowPoint at) const;
  // Lets go; returns the moment just before xdotool was started to send the release.
  Clock::time_point release() const;

 private:
  std::string display_;
  std::string window_;
};

}  // namespace e2e
