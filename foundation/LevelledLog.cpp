#include "foundation/LevelledLog.h"

#include "foundation/Console.h"
#include "foundation/StringFormat.h"

namespace foundation {

void LevelledLog::log(int lineLevel, std::string_view text) const {
  if (allows(lineLevel))
    Console::line(text);
}

void LevelledLog::logFormat(int lineLevel, const char* format, ...) const {
  if (!allows(lineLevel))
    return;
  va_list arguments;
  va_start(arguments, format);
  const std::string text = stringWithFormatArguments(format, arguments);
  va_end(arguments);
  Console::line(text);
}

}  // namespace foundation
