#pragma once

#include <string>

namespace tallix {

// C++ symbol names as people read them.
class TallixCrashReportDemangler {
 public:
  // The demangled name, or the name unchanged when it is not a mangled C++ name (C functions,
  // names the capture side cut short).
  static std::string demangle(const std::string& name);

  static constexpr std::size_t kMaxLength = 1024;
};

}  // namespace tallix
