#pragma once

#include <exception>
#include <optional>
#include <string>

namespace tallix {

// The last stop of anything thrown inside the agent: prints what was caught and swallows it,
// so nothing the agent does can take the application down.
class TallixExceptionHandler {
 public:
  static void handleException(std::exception_ptr caught) noexcept;
  // The exception's class, as a person reads it.
  static std::string typeName(const std::exception& exception);
  // The exception as "name: reason", as errors record it; nothing for no exception.
  static std::optional<std::string> describe(std::exception_ptr exception);

  // Runs the work, handing anything it throws to handleException.
  template <typename Work>
  static void guarded(Work&& work) noexcept {
    try {
      work();
    } catch (...) {
      handleException(std::current_exception());
    }
  }
};

}  // namespace tallix
