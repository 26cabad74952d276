#include "analytics/crash/capture/TallixCrashTerminateHook.h"

#include <cxxabi.h>

#include <atomic>
#include <cstdio>
#include <exception>
#include <typeinfo>

namespace tallix::crash {

namespace {

char recordedType[256] = {};
char recordedReason[1024] = {};
std::atomic<bool> recorded{false};
std::terminate_handler previousHandler = nullptr;

void recordCurrentException() {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (!type)
    return;
  std::snprintf(recordedType, sizeof recordedType, "%s", type->name());
  try {
    throw;
  } catch (const std::exception& exception) {
    std::snprintf(recordedReason, sizeof recordedReason, "%s", exception.what());
  } catch (...) {
  }
  recorded.store(true, std::memory_order_release);
}

[[noreturn]] void terminateWithRecord() {
  recordCurrentException();
  if (previousHandler)
    previousHandler();
  std::abort();
}

}  // namespace

void TallixCrashTerminateHook::install() {
  previousHandler = std::set_terminate(&terminateWithRecord);
}

const char* TallixCrashTerminateHook::exceptionType() {
  return recorded.load(std::memory_order_acquire) ? recordedType : "";
}

const char* TallixCrashTerminateHook::exceptionReason() {
  return recorded.load(std::memory_order_acquire) ? recordedReason : "";
}

}  // namespace tallix::crash
