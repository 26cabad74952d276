#include "analytics/crash/format/TallixCrashReportDemangler.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>

namespace tallix {

std::string TallixCrashReportDemangler::demangle(const std::string& name) {
  // Plain C names would demangle as types ("f" -> "float"): only "_Z" names are functions.
  // The demangler recurses with the name's nesting, so a hostile report's endless name is
  // shown raw rather than handed to it.
  if (name.rfind("_Z", 0) != 0 || name.size() > kMaxLength)
    return name;
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> demangled(
      abi::__cxa_demangle(name.c_str(), nullptr, nullptr, &status), &std::free);
  return status == 0 && demangled ? std::string(demangled.get()) : name;
}

}  // namespace tallix
