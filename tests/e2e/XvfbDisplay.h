#pragma once

#include <string>

#include "ChildProcess.h"

namespace e2e {

// A virtual X screen of its own on a free display number, without a window manager, so windows
// stay where their programs put them, and with key repeat on.
class XvfbDisplay {
 public:
  XvfbDisplay(int width, int height);  // throws when Xvfb does not come up

  // For DISPLAY, as ":N".
  const std::string& name() const { return name_; }

 private:
  ChildProcess server_;
  std::string name_;
};

}  // namespace e2e
