#pragma once

#include <chrono>
#include <cstdint>

namespace tallix {

// Milliseconds since 1970, the collector's one unit of time.
inline std::int64_t tallixNowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

}  // namespace tallix
