#include "foundation/Date.h"

#include <chrono>
#include <cmath>
#include <ctime>

namespace foundation {

Date Date::now() {
  using namespace std::chrono;
  return Date(duration<double>(system_clock::now().time_since_epoch()).count());
}

std::string Date::description() const {
  const auto wholeSeconds = static_cast<std::time_t>(std::floor(secondsSinceEpoch_));
  std::tm utc{};
  gmtime_r(&wholeSeconds, &utc);
  char text[40];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S +0000", &utc);
  return text;
}

}  // namespace foundation
