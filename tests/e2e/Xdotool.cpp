#include "Xdotool.h"

namespace e2e {

Clock::time_point xdotool(const std::string& display, std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "xdotool");
  const auto started = Clock::now();
  runToEnd({std::move(arguments), {{"DISPLAY", display}}});
  return started;
}

}  // namespace e2e
