#include "tallix/TallixWatch.h"

#include "analytics/config/watch/TallixWatchAgent.h"
#include "analytics/core/support/TallixExceptionHandler.h"
#include "analytics/facade/TallixSharedAgent.h"
#include "analytics/facade/TallixValueConversion.h"

namespace tallix {

namespace {

// Made after the shared agent, so gone before it.
TallixWatchAgent& sharedWatch() {
  static TallixWatchAgent watch(sharedAgent());
  return watch;
}

}  // namespace

EventRecordResult TallixWatch::logWatchEvent(const TallixValue& eventName,
                                             const TallixValue& parameters) {
  EventRecordResult result = EventRecordResult::Invalid;
  TallixExceptionHandler::guarded(
      [&] { result = sharedWatch().logWatchEvent(toValue(eventName), toValue(parameters)); });
  return result;
}

void TallixWatch::logWatchError(const TallixValue& errorId, const TallixValue& message,
                                std::exception_ptr exception) {
  TallixExceptionHandler::guarded(
      [&] { sharedWatch().logWatchError(toValue(errorId), toValue(message), exception); });
}

void TallixWatch::logWatchError(const TallixValue& errorId, const TallixValue& message,
                                const std::error_code& error) {
  TallixExceptionHandler::guarded(
      [&] { sharedWatch().logWatchError(toValue(errorId), toValue(message), error); });
}

bool TallixWatch::waitUntilIdle(std::chrono::milliseconds timeout) {
  bool idle = false;
  TallixExceptionHandler::guarded([&] { idle = sharedWatch().waitUntilIdle(timeout); });
  return idle;
}

}  // namespace tallix
