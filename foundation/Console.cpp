#include "foundation/Console.h"

#include <cstdio>
#include <mutex>
#include <string>

namespace foundation {

void Console::line(std::string_view text) {
  static std::mutex outputMutex;
  std::string whole(text);
  whole += '\n';
  std::lock_guard lock(outputMutex);
  std::fwrite(whole.data(), 1, whole.size(), stdout);
  std::fflush(stdout);
}

}  // namespace foundation
