#include "foundation/StringFormat.h"

#include <cstdio>

namespace foundation {

std::string stringWithFormat(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::string text = stringWithFormatArguments(format, arguments);
  va_end(arguments);
  return text;
}

std::string stringWithFormatArguments(const char* format, va_list arguments) {
  va_list measuring;
  va_copy(measuring, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, measuring);
  va_end(measuring);
  if (length <= 0)
    return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  return text;
}

}  // namespace foundation
