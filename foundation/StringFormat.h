#pragma once

#include <cstdarg>
#include <string>

namespace foundation {

// printf-style formatting into a string; the compiler checks the arguments against the format.
std::string stringWithFormat(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string stringWithFormatArguments(const char* format, va_list arguments)
    __attribute__((format(printf, 1, 0)));

}  // namespace foundation
