#pragma once

#include <string>
#include <vector>

#include "ChildProcess.h"

namespace e2e {

// Runs xdotool against the display to its end; returns the moment just before it was started.
// Its input goes through XTest, so the program sees real device events, key repeat included.
Clock::time_point xdotool(const std::string& display, std::vector<std::string> arguments);

}  // namespace e2e
