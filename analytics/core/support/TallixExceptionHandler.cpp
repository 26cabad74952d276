#include "analytics/core/support/TallixExceptionHandler.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>
#include <typeinfo>

#include "analytics/core/support/TallixLog.h"

namespace tallix {
namespace {

constexpr const char* kRule = "Tallix: -----------------------------------------";

std::string readableName(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, decltype(&std::free)> readable(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), &std::free);
  return status == 0 && readable ? readable.get() : type.name();
}

std::string currentExceptionName() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  return type ? readableName(*type) : "unknown";
}

void logError(const std::system_error& error) {
  TallixLog::debug("Tallix: Caught Error in Tallix Analytics Code");
  TallixLog::debug("%s", kRule);
  TallixLog::debug("Tallix: Code:%ld Domain:%s", static_cast<long>(error.code().value()),
                   error.code().category().name());
}

void logException(const std::string& name, const char* reason) {
  TallixLog::debug("Tallix: Caught Exception in Tallix Analytics Code");
  TallixLog::debug("%s", kRule);
  TallixLog::debug("Tallix: Name:%s Reason:%s", name.c_str(), reason);
  TallixLog::debug("Tallix: %s: %s", name.c_str(), reason);
}

}  // namespace

std::string TallixExceptionHandler::typeName(const std::exception& exception) {
  return readableName(typeid(exception));
}

std::optional<std::string> TallixExceptionHandler::describe(std::exception_ptr exception) {
  if (!exception)
    return std::nullopt;
  try {
    std::rethrow_exception(exception);
  } catch (const std::exception& caught) {
    return typeName(caught) + ": " + caught.what();
  } catch (...) {
    return std::string("unknown: ");
  }
}

void TallixExceptionHandler::handleException(std::exception_ptr caught) noexcept {
  if (!caught)
    return;
  try {
    std::rethrow_exception(caught);
  } catch (const std::system_error& error) {
    logError(error);
  } catch (const std::exception& exception) {
    logException(currentExceptionName(), exception.what());
  } catch (...) {
    logException(currentExceptionName(), "");
  }
}

}  // namespace tallix
