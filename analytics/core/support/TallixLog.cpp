#include "analytics/core/support/TallixLog.h"

#include <cstdarg>

#include "foundation/Console.h"
#include "foundation/LevelledLog.h"
#include "foundation/StringFormat.h"

namespace tallix {
namespace {

// Refusals show by default: they tell a developer a call did nothing.
foundation::LevelledLog& agentLog() {
  static foundation::LevelledLog log(TallixLog::kRefusalLevel);
  return log;
}

void print(int level, const char* format, va_list arguments) {
  if (agentLog().allows(level))
    foundation::Console::line(foundation::stringWithFormatArguments(format, arguments));
}

}  // namespace

int TallixLog::logLevel() {
  return agentLog().level();
}

void TallixLog::setLogLevel(int level) {
  agentLog().setLevel(level);
}

bool TallixLog::debugEnabled() {
  return agentLog().allows(kDebugLevel);
}

void TallixLog::refusal(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print(kRefusalLevel, format, arguments);
  va_end(arguments);
}

void TallixLog::debug(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  print(kDebugLevel, format, arguments);
  va_end(arguments);
}

}  // namespace tallix
