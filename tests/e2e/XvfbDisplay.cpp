#include "XvfbDisplay.h"

#include <stdexcept>

namespace e2e {
namespace {

using namespace std::chrono_literals;

constexpr auto kStartLimit = 10s;

// -displayfd: Xvfb picks a free display and writes its number once it accepts clients. A held
// key repeats after 250 ms, 33 times a second: a desktop's usual repeat, a little eager.
Command xvfb(int width, int height) {
  return {{"Xvfb", "-displayfd", "1", "-screen", "0",
           std::to_string(width) + 'x' + std::to_string(height) + "x24", "-nolisten", "tcp",
           "-noreset", "-ardelay", "250", "-arinterval", "30"},
          {}};
}

}  // namespace

XvfbDisplay::XvfbDisplay(int width, int height) : server_(xvfb(width, height)) {
  if (!server_.output().waitForLine("", server_.started(), kStartLimit)) {
    server_.stop();
    throw std::runtime_error("Xvfb did not start\n" + server_.transcript());
  }
  std::string number = server_.output().text();
  number.erase(number.find_last_not_of('\n') + 1);
  name_ = ':' + number;
}

}  // namespace e2e
