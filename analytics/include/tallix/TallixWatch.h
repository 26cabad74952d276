#pragma once

#include <chrono>
#include <exception>
#include <system_error>

#include "tallix/EventRecordResult.h"
#include "tallix/TallixValue.h"

namespace tallix {

// The agent's facade for an extension process (see TallixApplication::isWatchExtension): events
// and errors only, recorded into watch sessions on the queue "com.Tallix.WatchAnalytics.Session".
// The project key is the application's information-dictionary value "Tallix Watch API Key".
// Every call returns at once; the recording happens on that queue.
class TallixWatch {
 public:
  TallixWatch() = delete;

  // Recorded (1) when queued, TooManyParameters (3) past ten parameters, Invalid (0) otherwise.
  static EventRecordResult logWatchEvent(const TallixValue& eventName,
                                         const TallixValue& parameters = {});
  static void logWatchError(const TallixValue& errorId, const TallixValue& message,
                            std::exception_ptr exception);
  static void logWatchError(const TallixValue& errorId, const TallixValue& message,
                            const std::error_code& error);

  // For a short-lived process before it exits: waits until the queued recordings are done and
  // the sessions they sent are answered, at most `timeout`. False when time ran out.
  static bool waitUntilIdle(std::chrono::milliseconds timeout);
};

}  // namespace tallix
